# Debian packages, named in this one place. Source this file, then: install_packages "${KORVALE_BUILD_PACKAGES[@]}" ...

KORVALE_BUILD_PACKAGES=( g++ cmake ninja-build pkg-config zlib1g-dev liblzo2-dev libtiff-dev libpng-dev libtinyxml2-dev libcairo2-dev libre2-dev libcli11-dev
  libbackward-cpp-dev libdw-dev libboost-dev libcurl4-openssl-dev libssl-dev )
KORVALE_TEST_PACKAGES=( googletest git python3 python3-skimage python3-tifffile python3-numpy python3-pandas )
KORVALE_WINDOWS_PACKAGES=( g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine64 )
KORVALE_CHECK_PACKAGES=( clang libclang-rt-14-dev clang-format spin g++-aarch64-linux-gnu )
KORVALE_BROWSER_PACKAGES=( chromium ) # 120 MB; some systems have no such package, and then its test is skipped
KORVALE_BENCHMARK_PACKAGES=( libbenchmark-dev libsigc++-3.0-dev qt6-base-dev libboost-serialization-dev libtbb-dev
  protobuf-compiler libprotobuf-dev protobuf-compiler-grpc libgrpc++-dev capnproto libcapnp-dev libopencv-dev libabsl-dev
  libbotan-2-dev libzmq3-dev nginx-light python3-skimage python3-pandas )

# install_packages NAME...: installs what is missing, with sudo where this is not root. Quiet when nothing is missing.
install_packages() {
  local missing=() name
  for name in "$@"; do
    dpkg-query -W -f '${Status}' "$name" 2>/dev/null | grep -q 'ok installed' || missing+=( "$name" )
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  printf 'Installing %s\n' "${missing[*]}"
  local sudo=()
  [ "$(id -u)" -eq 0 ] || sudo=( sudo )
  "${sudo[@]}" apt-get update -qq
  "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" \
    > /dev/null
}
