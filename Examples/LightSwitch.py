#!/usr/bin/env python3
"""A light switch: the programming button switches group address 1/2/3, and the LED shows what 1/2/4 reports."""
import ctypes
import os
import select
import signal
import time

SWITCH_GROUP, STATUS_GROUP = 0x0A03, 0x0A04
READ, OFF, ON = 0x00, 0x80, 0x81
MESSAGE_SIZE = 261  # Orvel/Protocol.h has this and the other numbers

libc = ctypes.CDLL(None, use_errno=True)
libc.mq_receive.restype = ctypes.c_ssize_t
libc.mq_receive.argtypes = [ctypes.c_int, ctypes.c_char_p, ctypes.c_size_t, ctypes.c_void_p]
libc.mq_send.argtypes = [ctypes.c_int, ctypes.c_char_p, ctypes.c_size_t, ctypes.c_uint]


class Queue:  # a message queue, which on Linux is a file descriptor
    def __init__(self, name, access):
        self.descriptor = libc.mq_open(name.encode(), access | os.O_NONBLOCK)
        if self.descriptor == -1:
            raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()), name)

    def __del__(self):
        if self.descriptor != -1:
            os.close(self.descriptor)

    def is_gone(self):  # the daemon makes new queues when it starts; those from before stay silent
        return os.fstat(self.descriptor).st_nlink == 0

    def receive(self):  # the messages that wait
        buffer = ctypes.create_string_buffer(MESSAGE_SIZE)
        while (size := libc.mq_receive(self.descriptor, buffer, MESSAGE_SIZE, None)) > 0:
            yield buffer.raw[:size]

    def send(self, message):
        if libc.mq_send(self.descriptor, message, len(message), 0) == -1:
            print("not sent:", os.strerror(ctypes.get_errno()), flush=True)  # full: nobody takes them


class LightSwitch:
    on = False  # of the class: it outlives the daemon

    def __init__(self):
        self.to_link = Queue("/cemiToLL", os.O_WRONLY)
        self.from_link = Queue("/cemiFromLL", os.O_RDONLY)
        self.button = Queue("/progButton", os.O_RDONLY)
        self.last = -1.0

    def run(self):  # until the daemon goes
        while not (self.to_link.is_gone() or self.from_link.is_gone() or self.button.is_gone()):
            select.select([self.from_link.descriptor, self.button.descriptor], [], [], 1)
            for message in self.from_link.receive():
                self.on_frame(message[1:])  # the first byte is not the size of long frames
            for message in self.button.receive():
                self.on_button(message[0] == 0)  # inverted

    def on_frame(self, frame):
        if len(frame) == 3 and frame[0] == 0xB9:
            print("the link is", "usable" if frame[2] == 1 else "lost", flush=True)
            if frame[2] == 1:
                self.send(STATUS_GROUP, READ)  # what happened meanwhile?
        elif len(frame) >= 11 and frame[0] == 0x29 and len(frame) >= 11 + frame[1]:
            frame = frame[2 + frame[1] :]  # behind the additional information
            to_status = frame[1] & 0x80 and int.from_bytes(frame[4:6], "big") == STATUS_GROUP
            if to_status and frame[6] == 1 and frame[7] == 0 and frame[8] & 0xFE in (0x80, 0x40):
                self.set_led(frame[8] & 1)  # written, or the answer to a read

    def set_led(self, on):
        try:
            with open("/sys/class/leds/prg1/brightness", "w", encoding="ascii") as file:
                file.write("0")  # only changes reach the board, whose LEDs a reset puts out
                file.flush()
                file.write("100" if on else "0")
        except OSError as error:
            print(error, flush=True)
        print("the light is", "on" if on else "off", flush=True)

    def on_button(self, pressed):
        now = time.monotonic()
        if pressed and now - self.last > 0.1:  # a press from before the daemon ran comes three times
            LightSwitch.on = not self.on
            print("switched", "on" if self.on else "off", flush=True)
            self.send(SWITCH_GROUP, ON if self.on else OFF)
        self.last = now if pressed else -1.0

    def send(self, group, service):
        self.to_link.send(bytes([11, 0x11, 0, 0xBC, 0xE0, 0, 0, *group.to_bytes(2, "big"), 1, 0, service]))


signal.signal(signal.SIGINT, signal.SIG_DFL)  # Ctrl-C ends it, as it does other programs
while True:
    try:
        LightSwitch().run()
    except FileNotFoundError:
        time.sleep(1)  # no daemon yet
    except PermissionError as error:
        raise SystemExit(error) from None  # one line, which names the queue
