#!/usr/bin/env python3
"""Shows what comes from the bus, through the gateway."""
import socket

with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as bus:
    bus.connect("/run/orvel/gateway")
    while message := bus.recv(261):
        print(message.hex(" "), flush=True)
