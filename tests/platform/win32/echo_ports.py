#!/usr/bin/env python3
"""Two pseudo-terminals for tests of serial ports.

The first echoes, and sends behind "rate?" the rate that the program at its other end has set, and a line break. The
second goes away at the first byte.

Prints both paths on one line and serves until standard input ends.
"""
import os
import select
import sys
import termios
import tty


OUTPUT_SPEED = 5  # in the list of tcgetattr


def rate_of(terminal):
    speed = termios.tcgetattr(terminal)[OUTPUT_SPEED]
    names = (name for name in dir(termios) if name[0] == "B" and name[1:].isdigit())
    return next((name[1:] for name in names if getattr(termios, name) == speed), "another")


def make_port():
    master, slave = os.openpty()
    tty.setraw(slave)
    return master, slave, os.ttyname(slave)


echo, keep_echo, echo_path = make_port()
leaving, keep_leaving, leaving_path = make_port()
print(echo_path, leaving_path, flush=True)

# Held open here, a port outlives each program that opens and closes it; the second is let go with its first byte.
watched = [sys.stdin.fileno(), echo, leaving]
while True:
    ready, _, _ = select.select(watched, [], [])
    if sys.stdin.fileno() in ready and not os.read(sys.stdin.fileno(), 1):
        break
    if echo in ready:
        data = os.read(echo, 4096)
        if data.endswith(b"rate?"):
            data += f"{rate_of(keep_echo)}\n".encode()
        while data:
            data = data[os.write(echo, data):]
    if leaving in ready:
        os.read(leaving, 4096)
        os.close(keep_leaving)
        os.close(leaving)
        watched.remove(leaving)
