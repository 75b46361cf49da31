#!/usr/bin/env python3
"""Switches group address 1/2/3 on, through the gateway, and says whether that was confirmed."""
import socket

with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as bus:
    bus.connect("/run/orvel/gateway")
    bus.send(bytes.fromhex("0b 11 00 bc e0 00 00 0a 03 01 00 81"))
    while message := bus.recv(261):
        if message[1] == 0x2E:  # an L_Data.con, which is the answer; the lowest bit of control field 1 means: not confirmed
            raise SystemExit("not confirmed" if message[3 + message[2]] & 1 else 0)
raise SystemExit("the gateway has ended")
