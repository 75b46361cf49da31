#!/usr/bin/env python3
"""A thermostat on the bus, through the gateway: it answers reads, and tells what has changed.

Thermostat.py [FILE [SOCKET]]: the file has the temperature in thousandths of a degree.
"""
import pathlib
import signal
import socket
import sys
import time

TEMPERATURE, SET_POINT, HEATING = 0x0A0A, 0x0A0B, 0x0A0C  # 1/2/10, 1/2/11 and 1/2/12
READ, ANSWER, WRITE = 0x00, 0x40, 0x80


def to_bytes(value):  # datapoint type 9: hundredths, 11 bits and a sign, times a power of two
    exponent, mantissa = 0, round(value * 100)
    while not -2048 <= mantissa <= 2047:
        exponent += 1
        mantissa = round(value * 100 / 2**exponent)
    return (mantissa & 0x7FF | exponent << 11 | (mantissa < 0) << 15).to_bytes(2, "big")


def from_bytes(data):
    number = int.from_bytes(data, "big")
    return ((number & 0x7FF) - (number >> 15 << 11)) * 2 ** (number >> 11 & 15) / 100


class Thermostat:
    def __init__(self, sensor):
        self.sensor = sensor
        self.temperature = None  # not known
        self.problem = None  # of the sensor
        self.set_point, self.heating = 21.0, False
        self.usable = False  # the link
        self.told = {}  # what the bus knows, by group address
        self.due = 0.0

    def run(self, bus):  # until the gateway ends
        self.bus, self.usable = bus, False
        bus.settimeout(1)
        while True:
            try:
                message = bus.recv(261)
                if not message:
                    return
                self.on_frame(message[1:])  # the first byte is not the size of long frames
            except TimeoutError:
                pass
            if time.monotonic() >= self.due:
                self.due = time.monotonic() + 1
                self.measure()
                self.tell()

    def on_frame(self, frame):
        if len(frame) == 3 and frame[0] == 0xB9:
            self.usable = frame[2] == 1
            print("the link is", "usable" if self.usable else "lost", flush=True)
            self.told = {}  # nobody has heard what was sent meanwhile
        if len(frame) == 3 and (frame[0] == 0xBB or frame[0] == 0xB9 and self.usable):
            self.send(SET_POINT, READ)  # messages were dropped, or not heard: has somebody set it?
        elif len(frame) >= 11 and frame[0] in (0x29, 0x2E) and len(frame) >= 11 + frame[1]:
            self.on_telegram(frame[0] == 0x29, frame[2 + frame[1] :])  # behind the additional information

    def on_telegram(self, received, frame):
        group, service, data = int.from_bytes(frame[4:6], "big"), frame[8] & 0xC0, frame[9:]
        if not frame[1] & 0x80 or frame[7] != 0 or len(frame) != 8 + frame[6]:
            return  # not to a group, another service, or not whole
        if not received:
            if frame[0] & 1 and service == WRITE:  # the confirmation that it was not sent: once more
                self.told.pop(group, None)
        elif service == READ and group in (TEMPERATURE, SET_POINT, HEATING):
            self.send_value(group, ANSWER)
        elif group == SET_POINT and service in (ANSWER, WRITE) and len(data) == 2 and data != b"\x7f\xff":  # no value
            self.set_point = from_bytes(data)
            print("the set point is", self.set_point, flush=True)

    def measure(self):
        try:
            self.temperature, problem = round(int(self.sensor.read_text()) / 1000, 1), None
        except (OSError, ValueError) as error:
            self.temperature, problem = None, str(error)  # nobody is given an old one
        if problem != self.problem:
            self.problem = problem
            print(problem or "the sensor can be read again", flush=True)
        if self.temperature is not None and abs(self.temperature - self.set_point) > 0.3:  # or it would switch too often
            self.heating = self.temperature < self.set_point

    def tell(self):
        for group, value in ((TEMPERATURE, self.temperature), (HEATING, self.heating)):
            if self.usable and self.temperature is not None and self.told.get(group) != value:
                self.told[group] = value
                print("heating" if group == HEATING else "temperature", value, flush=True)
                self.send_value(group, WRITE)

    def send_value(self, group, service):
        if group == HEATING:
            self.send(group, service + self.heating)  # one bit fits into the byte of the service
        elif group == SET_POINT:
            self.send(group, service, to_bytes(self.set_point))
        elif self.temperature is not None:
            self.send(group, service, to_bytes(self.temperature))

    def send(self, group, service, data=b""):
        frame = bytes([0x11, 0, 0xBC, 0xE0, 0, 0, *group.to_bytes(2, "big"), 1 + len(data), 0, service]) + data
        self.bus.send(bytes([len(frame)]) + frame)


signal.signal(signal.SIGINT, signal.SIG_DFL)  # Ctrl-C ends it, as it does other programs
FILE = sys.argv[1] if len(sys.argv) > 1 else "/sys/class/thermal/thermal_zone0/temp"
SOCKET = sys.argv[2] if len(sys.argv) > 2 else "/run/orvel/gateway"
thermostat = Thermostat(pathlib.Path(FILE))
while True:
    try:
        with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as connection:
            connection.connect(SOCKET)
            thermostat.run(connection)
    except PermissionError:
        raise SystemExit(f"{SOCKET}: not for this user") from None
    except OSError:
        pass  # the gateway does not run, or has just ended
    time.sleep(1)
