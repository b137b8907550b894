@0xd1c5a4b06e3f7a29;

interface Echo {
  call @0 (bytes :Data) -> (bytes :Data);
}
