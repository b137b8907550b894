#!/usr/bin/env python3
"""Interrupts the program at many moments: it ends soon with status 130 and leaves nothing behind, or had finished. And
kills it where it has no say in the matter.

Usage: interrupt_korvale.py KORVALE
"""

import array
import fcntl
import os
import pathlib
import random
import resource
import select
import signal
import subprocess
import sys
import tempfile
import termios
import time

MOMENTS = 8
LIMIT = 20.0  # seconds; it is a fraction of one on a machine that has nothing else to do

faults = []

def entries(folder):
    return sorted(str(path.relative_to(folder)) for path in folder.rglob("*"))

def start(program, folder, arguments, **options):
    return subprocess.Popen([program, "--log", "/dev/null", *arguments], cwd=folder, stderr=subprocess.PIPE, **options)

def wait_for_signals(process):
    """Until it has taken the signals over: before that, they end it as they end any process."""
    status = pathlib.Path(f"/proc/{process.pid}/status")
    deadline = time.monotonic() + LIMIT
    while process.poll() is None and time.monotonic() < deadline:
        blocked = next(line for line in status.read_text().splitlines() if line.startswith("SigBlk:"))
        if int(blocked.split()[1], 16) >> (signal.SIGINT - 1) & 1:
            return
        time.sleep(0.0005)

def interrupt(process, signals):
    """Sends the signals; the seconds until the process ended. Until then nobody reads what it prints."""
    begin = time.monotonic()
    for each in signals:
        process.send_signal(each)
    try:
        process.wait(timeout=LIMIT)
    except subprocess.TimeoutExpired:
        process.kill()
        faults.append(f"{process.args}: it went on for {LIMIT} s")
    seconds = time.monotonic() - begin
    process.communicate()
    return seconds

def remove(folder, names):
    for name in sorted(names, reverse=True):
        path = folder / name
        if path.exists():
            path.rmdir() if path.is_dir() else path.unlink()

def check_moments(program, folder, arguments, made):
    """What the command makes is there as a whole, with status 0, or not at all, with status 130."""
    arguments = [*arguments, "-q"]
    before = entries(folder)
    begin = time.monotonic()
    subprocess.run([program, "--log", "/dev/null", *arguments], cwd=folder, check=True)
    duration = time.monotonic() - begin
    after = entries(folder)
    assert set(after) == set(before) | set(made), after

    worst, statuses = 0.0, []
    for moment in range(MOMENTS):
        remove(folder, made)
        process = start(program, folder, arguments)
        wait_for_signals(process)
        time.sleep(duration * moment / MOMENTS)
        signals = [signal.SIGINT, signal.SIGTERM][: 1 + moment % 2]
        worst = max(worst, interrupt(process, signals))
        statuses.append(process.returncode)
        expected = {130: before, 0: after, 1: after}.get(process.returncode)  # 1 if it hangs after its work
        if entries(folder) != expected:
            faults.append(f"{arguments} at moment {moment}: status {process.returncode}, {entries(folder)}")
    remove(folder, made)
    if 130 not in statuses:
        faults.append(f"{arguments}: no moment was in time: {statuses}")
    print(f"{arguments[0]}: {duration:.2f} s; interrupted, it ended within {worst:.3f} s; statuses {statuses}")

def check_blocked(program, folder, signals):
    """Nobody reads what it prints."""
    process = start(program, folder, ["show", "big.table", "--csv"], stdout=subprocess.PIPE)
    count = array.array("i", [0])
    while count[0] < 65536:
        select.select([process.stdout], [], [], LIMIT)
        fcntl.ioctl(process.stdout, termios.FIONREAD, count)
    seconds = interrupt(process, signals)
    if process.returncode != 130:
        faults.append(f"show, blocked: status {process.returncode}")
    print(f"show, blocked: ended within {seconds:.3f} s")

def check_ignored(program, folder):
    """A process that was started to ignore interrupts goes on."""
    ignore = lambda: signal.signal(signal.SIGINT, signal.SIG_IGN)
    process = start(program, folder, ["measure", "stack/sample.tif"], stdout=subprocess.DEVNULL, preexec_fn=ignore)
    interrupt(process, [signal.SIGINT, signal.SIGINT])
    if process.returncode != 0:
        faults.append(f"interrupts that are ignored: status {process.returncode}")

def has_open_file_in(process, folder):
    try:
        names = [os.readlink(entry) for entry in pathlib.Path(f"/proc/{process.pid}/fd").iterdir()]
    except OSError:
        return False  # a descriptor that has been closed meanwhile
    return any(name.startswith(str(folder)) for name in names)

def check_killed(program, folder):
    """Once pages have been moved out of memory, nothing of that stays."""
    temporary = folder / "temporary"
    temporary.mkdir()
    before = entries(folder)
    arguments = ["measure", "stack/sample.tif", "--background", "mean", "--memory", "8M", "-o", "killed", "-q"]
    process = start(program, folder, arguments, env=os.environ | {"TMPDIR": str(temporary)})
    while process.poll() is None and not has_open_file_in(process, temporary):
        pass
    process.kill()
    process.communicate()
    if process.returncode != -signal.SIGKILL:
        faults.append(f"killed: status {process.returncode}, it had ended before")
    if entries(folder) != before:
        faults.append(f"killed: {entries(folder)}")
    print("killed with pages moved out of memory: nothing left")

def read_outputs(folder, start):
    return {path.name[len(start):]: path.read_bytes() for path in folder.glob(start + "*")}

def check_resumed(program, folder, options):
    """However often it is killed or interrupted, it goes on from there, to the bytes of a run that was left alone."""
    def arguments(start):
        outputs = ["-o", start + "t", "--csv", start + "c"] + [each.replace("%", start) for each in options]
        return ["measure", "stack/sample.tif", *outputs, "-q"]
    begin = time.monotonic()
    subprocess.run([program, "--log", "/dev/null", *arguments("whole-")], cwd=folder, check=True)
    duration = time.monotonic() - begin
    journal = folder / "part-t.journal"
    size = lambda: journal.stat().st_size if journal.exists() else 0
    stops = 0
    while True:
        process = start(program, folder, [*arguments("part-"), "--resume"])
        wait_for_signals(process)
        before = size()
        while process.poll() is None and size() <= before:  # else it would not get on
            time.sleep(0.0005)
        time.sleep(random.random() * duration / 4)
        process.send_signal([signal.SIGKILL, signal.SIGINT][stops % 2])
        error = process.communicate()[1].decode()
        if process.returncode not in (-signal.SIGKILL, 130):
            break
        stops += 1
        if stops % 3 == 0 and journal.exists():  # as a power failure may leave it
            os.truncate(journal, size() - random.randrange(min(size(), 5000)))
    if process.returncode != 0 or read_outputs(folder, "part-") != read_outputs(folder, "whole-"):
        faults.append(f"resumed with {options} after {stops} stops: status {process.returncode}, {error}, {entries(folder)}")
    if stops == 0:
        faults.append(f"resumed with {options}: it had finished before it was stopped")
    for path in [*folder.glob("part-*"), *folder.glob("whole-*")]:
        path.unlink()
    print(f"resumed with {options}: the same after {stops} stops")

def check_full_journal(program, folder):
    """A run whose journal cannot grow goes on without it."""
    most = 3 << 20  # bytes, of each file: the pictures of five pages
    limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (most, most))
    arguments = ["measure", "stack/sample.tif", "-o", "full-t", "--overlay", "full-o.png", "--resume", "-q"]
    process = start(program, folder, arguments, preexec_fn=limit, restore_signals=False)  # without a signal for the limit
    error = process.communicate()[1].decode()
    made = sorted(path.name for path in folder.glob("full-*"))
    if process.returncode != 0 or error.count("warning: cannot write full-t.journal: ") != 1 or len(made) != 13:
        faults.append(f"a full journal: status {process.returncode}, {error}, {made}")
    remove(folder, made)
    print(f"a full journal: {error.strip()}")

def has_unnamed_files(folder):
    try:
        os.close(os.open(folder, os.O_TMPFILE | os.O_RDWR))
        return True
    except OSError:
        return False

def check_killed_writing(program, folder):
    """What it has written of an output goes with it."""
    if not has_unnamed_files(folder):
        return print("killed while writing: not checked, this file system keeps the file")
    out = folder / "out"
    out.mkdir()
    process = start(program, folder, ["sample", "out", "--planes", "2000", "-q"])
    while process.poll() is None and not has_open_file_in(process, out):
        pass
    process.kill()
    process.communicate()
    if process.returncode != -signal.SIGKILL or entries(out):
        faults.append(f"killed while writing: status {process.returncode}, {entries(out)}")
    out.rmdir()
    print("killed while writing: nothing left")

def run_with_address_space(program, folder, arguments, size):
    limit = lambda: resource.setrlimit(resource.RLIMIT_AS, (size, size))
    process = start(program, folder, [*arguments, "-q"], preexec_fn=limit)
    _, error = process.communicate()
    return process.returncode, error.decode()

def check_little_memory(program, folder):
    """Wherever memory ends, at the start too, that is a failure with a message. With 127 the loader has none."""
    sample = ["sample", "small", "--planes", "2"]
    made = ["small/sample.tif", "small/truth.csv", "small"]
    if run_with_address_space(program, folder, sample, 4 << 30)[0] != 0:
        return  # a sanitizer needs more
    overlay = ["measure", "small.tif", "--overlay", "small.png"]
    (folder / "small/sample.tif").rename(folder / "small.tif")
    cases = [(sample, size) for size in range(20, 84, 4)] + [(overlay, size) for size in range(64, 136, 8)]
    for arguments, mebibytes in cases:
        remove(folder, made)
        before = entries(folder)
        status, error = run_with_address_space(program, folder, arguments, mebibytes << 20)
        left = [entry for entry in entries(folder) if entry not in before and not entry.endswith(".png.new")]
        failed = status == 1 and not left and error.startswith("korvale: ") and "crashed" not in error
        if status not in (0, 127) and not failed:
            faults.append(f"{arguments[0]} in {mebibytes} MiB of address space: status {status}, {error}, {left}")
        print(f"{arguments[0]} in {mebibytes} MiB: status {status}, {error.strip()}")
    remove(folder, made)

def main():
    program = str(pathlib.Path(sys.argv[1]).resolve())
    with tempfile.TemporaryDirectory(prefix="korvale-test-") as name:
        folder = pathlib.Path(name)
        sample = ["--width", "800", "--height", "800", "--objects", "600", "--planes"]
        subprocess.run([program, "--log", "/dev/null", "sample", "stack", *sample, "12", "-q"], cwd=folder, check=True)
        check_moments(program, folder, ["sample", "new/below", *sample, "6"],
                      ["new", "new/below", "new/below/sample.tif", "new/below/truth.csv"])
        check_moments(program, folder, ["measure", "stack/sample.tif", "stack/sample.tif", "-o", "t", "--csv", "c"],
                      ["t", "c"])
        check_moments(program, folder, ["measure", "stack/sample.tif", "--background", "min", "--memory", "8M",
                                        "--save-background", "b", "--csv", "c"], ["b", "c"])
        subprocess.run([program, "--log", "/dev/null", "measure", "stack/sample.tif", "-o", "big.table", "-q"],
                       cwd=folder, check=True)
        check_moments(program, folder, ["export", "big.table", "--npz", "n", "--csv", "c"], ["n", "c"])
        check_blocked(program, folder, [signal.SIGINT])
        check_blocked(program, folder, [signal.SIGINT, signal.SIGTERM])
        check_ignored(program, folder)
        check_killed(program, folder)
        check_killed_writing(program, folder)
        check_resumed(program, folder, ["--overlay", "%o.png"])
        check_full_journal(program, folder)
        check_resumed(program, folder, ["--background", "mean", "--save-background", "%b", "--memory", "8M"])
        check_little_memory(program, folder)
    for fault in faults:
        print(fault, file=sys.stderr)
    return 1 if faults else 0

if __name__ == "__main__":
    sys.exit(main())
