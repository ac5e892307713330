#!/usr/bin/env python3
"""What reaches the firmware after an opening, behind each bootloader.

For each board (Uno: Optiboot at 115 200 baud; Duemilanove and old Nano:
ATmegaBOOT at 57 600), a simulated chip holding the bootloader and our image
(brivel-machine-sim). The port is opened as the console opens it, which
resets the board, and the parameter push of a connection is sent:

  fixed     the first frame 900 ms after the opening, the frames 10 ms
            apart (the Parts' timing, no greeting awaited);
  greeting  the frames as soon as the firmware's greeting has come.

Printed per board and way: the time from the opening to the first frame the
firmware could take, the frames it received, the bytes the bootloader got.
Then avrdude's wall time to write and verify our image at each board's speed
(through brivel-modem-lines.so, so that avrdude's reset reaches the chip).

  python3 bench/boot_push.py BUILD_DIR
"""
import os
import re
import subprocess
import sys
import tempfile
import termios
import time

PUSH = [b"NUxxxxx\n", b"PX00700\n", b"PY00600\n", b"OX00300\n", b"IZ00002\n", b"MZ00012\n", b"cpxxxxx\n"]
GREETING = b"\x1bBRIVEL\n"


def start(build, boot, folder, extra=()):
    link = os.path.join(folder, "com7")
    log = os.path.join(folder, "machine.log")
    sim = subprocess.Popen([os.path.join(build, "apps/brivel-machine-sim/brivel-machine-sim"), "--bootloader", boot,
                            "--link", link, "--log", log, *extra], stdout=subprocess.PIPE, text=True)
    while "ready" not in sim.stdout.readline():
        pass
    time.sleep(0.3)
    return sim, link, log


def open_port(link):
    fd = os.open(link, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
    attrs = termios.tcgetattr(fd)
    attrs[0] = attrs[1] = attrs[3] = 0
    attrs[2] = termios.CS8 | termios.CREAD | termios.CLOCAL
    attrs[4] = attrs[5] = termios.B57600
    termios.tcsetattr(fd, termios.TCSANOW, attrs)
    return fd


def read_for(fd, seconds, until=None):
    got, end = b"", time.monotonic() + seconds
    while time.monotonic() < end and not (until and until in got):
        try:
            got += os.read(fd, 256)
        except BlockingIOError:
            time.sleep(0.001)
    return got


def push(build, boot, way):
    with tempfile.TemporaryDirectory() as folder:
        sim, link, log = start(build, boot, folder, ["--firmware", os.path.join(build, "Brivel_uploader/Binaire/Brivel.cpp.elf")])
        opened = time.monotonic()
        fd = open_port(link)
        if way == "fixed":
            read_for(fd, 0.9)
        else:
            read_for(fd, 2.4, GREETING)
        first = time.monotonic() - opened
        for frame in PUSH:
            os.write(fd, frame)
            time.sleep(0.010)
        read_for(fd, 3.0)
        os.close(fd)
        sim.terminate()
        sim.wait()
        text = open(log, encoding="utf-8", errors="replace").read()
        received = sum(text.count(" > " + f.decode().replace("\n", "<LF>")) for f in PUSH)
        # Every bootloader session's bytes: those that ended in the
        # application and those that ended in another reset.
        to_boot = [int(n) for n in re.findall(r"(\d+) octets reçus", text)]
        return first, received, sum(to_boot)


def upload(build, boot, baud):
    with tempfile.TemporaryDirectory() as folder:
        sim, link, _ = start(build, boot, folder, ["--flash", os.path.join(folder, "flash.bin")])
        env = dict(os.environ, LD_PRELOAD=os.path.join(build, "apps/brivel-machine-sim/brivel-modem-lines.so"))
        hexfile = os.path.join(build, "Brivel_uploader/Binaire/Brivel.cpp.hex")
        t0 = time.monotonic()
        r = subprocess.run(["avrdude", "-pm328p", "-carduino", "-P" + link, "-b%d" % baud, "-D",
                            "-Uflash:w:%s:i" % hexfile], env=env, capture_output=True, text=True)
        took = time.monotonic() - t0
        sim.terminate()
        sim.wait()
        return took, r.returncode


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else "build"
    boards = [("Uno (Optiboot, 115200)", os.path.join(build, "bootloaders/optiboot_atmega328.hex"), 115200),
              ("Duemilanove/Nano (ATmegaBOOT, 57600)",
               "/usr/share/arduino/hardware/arduino/avr/bootloaders/atmega/ATmegaBOOT_168_atmega328.hex", 57600)]
    print("| board | way | opening to first frame (s) | push frames the firmware got | bytes to the bootloader |")
    print("|---|---|---|---|---|")
    for name, boot, _ in boards:
        for way in ("fixed", "greeting"):
            first, received, to_boot = push(build, boot, way)
            print("| %s | %s | %.2f | %d of %d | %d |" % (name, way, first, received, len(PUSH), to_boot))
    print()
    print("| board | avrdude write and verify (s) | exit |")
    print("|---|---|---|")
    for name, boot, baud in boards:
        took, code = upload(build, boot, baud)
        print("| %s | %.2f | %d |" % (name, took, code))


if __name__ == "__main__":
    main()
