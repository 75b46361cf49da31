"""Compares datapoint-values with xknx, both directions, for all types that it has.

    with_xknx.py DATAPOINT-VALUES DIFFERENCES [STEP]

All values of up to 16 bits, or of those of 16 bits every STEPth, and random ones of all others, fewer with a STEP.
The seed is always the same.
"""

import math
import random
import struct
import sys

sys.path.insert(0, __import__("os").path.dirname(__file__))
from peer import Differences, Values  # noqa: E402
from xknx.dpt import DPTArray, DPTBase, DPTBinary  # noqa: E402
from xknx.exceptions import ConversionError, CouldNotParseTelegram  # noqa: E402

STEP = int(sys.argv[3]) if len(sys.argv) > 3 else 1
RANDOM_VALUES = max(5000 // STEP, 100)
REFUSED = "refused"  # instead of a value
FLAGS = ("fault", "workingDay", "noWorkingDay", "noYear", "noDate", "noDayOfWeek", "noTime", "summerTime", "clockQuality")


def words(text):
    """Names of enumerations: only letters and digits count."""
    return "".join(letter for letter in str(text).lower() if letter.isalnum())


def same_number(main, ours, theirs):
    if isinstance(ours, str):  # what JSON has no number for
        ours = float(ours)
    if ours is None or isinstance(ours, bool):
        return False
    if math.isnan(theirs):
        return math.isnan(ours)
    if main == 14:  # they round to seven digits
        return math.isclose(ours, theirs, rel_tol=1e-6) or struct.pack(">f", ours) == struct.pack(">f", theirs)
    return ours == theirs or math.isclose(ours, theirs, rel_tol=1e-12)


def fields_of(number, value):
    """What they say in several fields, as we say it. A field that they leave out because it is not valid is None."""
    if number == "10.001":
        return {"day": value.day.name, "hour": value.hour, "minutes": value.minutes, "seconds": value.seconds}
    if number == "11.001":
        return {"day": value.day, "month": value.month, "year": value.year}
    if number in ("3.007", "3.008"):
        step = value.step_code
        return {"direction": bool(value.control.value),
                "step": f"{2 ** (step - 1)} interval{'s' if step > 1 else ''}" if step else "break"}
    if number == "18.001":
        return {"control": value.learn, "scene": value.scene_number}
    if number == "19.001":
        return {"year": value.year, "month": value.month, "day": value.day,
                "dayOfWeek": value.day_of_week and value.day_of_week.name.replace("ANY_DAY", "no day"), "hour": value.hour,
                "minutes": value.minutes, "seconds": value.seconds, "fault": value.fault, "workingDay": value.working_day,
                "noWorkingDay": value.working_day is None, "noYear": value.year is None, "noDate": value.month is None,
                "noDayOfWeek": value.day_of_week is None, "noTime": value.hour is None, "summerTime": value.dst,
                "clockQuality": value.external_sync}
    if number == "232.600":
        return {"red": value.red, "green": value.green, "blue": value.blue}
    if number == "235.001":
        return {"activeElectricalEnergy": value.energy, "tariff": value.tariff, "energyInvalid": value.energy is None,
                "tariffInvalid": value.tariff is None}
    if number == "242.600":
        color = value.color or (None, None)
        x, y = (None if axis is None else round(axis * 65535) for axis in color)
        return {"x": x, "y": y, "brightness": value.brightness, "validityXy": value.color is not None,
                "validityBrightness": value.brightness is not None}
    if number == "251.600":
        parts = {name: getattr(value, name) for name in ("red", "green", "blue", "white")}
        return {**parts, **{"validity" + name.capitalize(): part is not None for name, part in parts.items()}}
    return None


def same_fields(ours, theirs):
    for name, value in theirs.items():
        if value is None:
            continue
        if (words(ours[name]) != words(value)) if isinstance(value, str) else (ours[name] != value):
            return False
    return ours.keys() == theirs.keys()


def same(transcoder, number, answer, value):
    """Whether our answer is their value."""
    ours = answer["json"]
    fields = fields_of(number, value)
    if fields is not None:
        return same_fields(ours, fields)
    if isinstance(value, str):
        return ours == value
    if isinstance(value, (int, float)):
        return same_number(transcoder.dpt_main_number, ours, value)
    if isinstance(ours, bool):
        return ours == bool(value.value)
    return words(answer["text"]) == words(value.name)


def text_of(number, value):
    """Their value as a person types it for us."""
    fields = fields_of(number, value)
    if fields is not None:
        empty = {"year": 1900}  # where another field says that it is not valid
        texts = {name: empty.get(name, 0) if field is None else field for name, field in fields.items()}
        return " ".join(f"{name}={text}" for name, text in texts.items()).replace("NO_DAY", "no day")
    if isinstance(value, bool) or not isinstance(value, (int, float, str)):
        return str(int(value.value))
    return value if isinstance(value, str) else repr(value)


def payloads(transcoder):
    if transcoder.payload_type is DPTBinary:
        return [DPTBinary(bits) for bits in range(64)]
    size = transcoder.payload_length
    if size <= 2:
        return [DPTArray(tuple(bits.to_bytes(size, "big"))) for bits in range(0, 256 ** size, STEP if size == 2 else 1)]
    if transcoder.dpt_main_number == 16:
        texts = [random.choices(range(256), k=random.randint(0, 14)) for _ in range(RANDOM_VALUES)]
        return [DPTArray(tuple(text) + (0,) * (14 - len(text))) for text in texts]
    edges = [bytes(size), b"\xff" * size, b"\x7f" + b"\xff" * (size - 1), b"\x80" + bytes(size - 1)]
    sizes = {10: (0x100, 60, 60), 11: (32, 13, 100), 19: (256, 13, 32, 256, 60, 60, 256, 256)}
    values = [bytes(random.randrange(top) for top in sizes.get(transcoder.dpt_main_number, (256,) * size))
              for _ in range(RANDOM_VALUES)]
    return [DPTArray(tuple(value)) for value in edges + values]


def hex_of(payload):
    return f"0x{payload.value:02x}" if isinstance(payload, DPTBinary) else bytes(payload.value).hex()


def theirs(function, *arguments):
    try:
        return function(*arguments)
    except (ConversionError, CouldNotParseTelegram, OverflowError):
        return REFUSED


def numbers_between(transcoder):
    """Numbers that a person may type, with and without a step of their own, also beyond the limits."""
    low, high = transcoder.value_min, transcoder.value_max
    if transcoder.dpt_main_number == 14:
        return [random.uniform(-1, 1) * 10.0 ** random.randint(-40, 40) for _ in range(RANDOM_VALUES // 10)]
    if transcoder.dpt_main_number == 9:
        top = 700000.0
        numbers = [round(random.uniform(-top, top), random.randint(0, 3)) for _ in range(RANDOM_VALUES)]
        numbers += [round(random.uniform(-30, 30), random.randint(0, 3)) for _ in range(RANDOM_VALUES)]
        return numbers + [round(cents / 100, 2) for cents in range(-5000, 5001, min(STEP, 1000))]
    span = (high - low) * 1.1
    middle = (high + low) / 2
    numbers = [random.uniform(middle - span / 2, middle + span / 2) for _ in range(RANDOM_VALUES)]
    if transcoder.resolution == 1 and transcoder.dpt_number_str() not in ("5.001", "5.003"):
        return [round(number) for number in numbers[::10]] + [low - 1, high + 1]
    return [round(number, random.randint(0, 3)) for number in numbers]


def kind_of(ours, their_value):
    """The words for a difference."""
    if their_value is REFUSED:
        return "only they refuse"
    return "only we refuse" if "refused" in ours else "differs"


def compare_decoding(number, transcoder, program, differences):
    values = Values(program)
    asked = payloads(transcoder)
    for payload in asked:
        values.decode(number, hex_of(payload))
    for payload, answer in zip(asked, values.answers()):
        value = theirs(transcoder.from_knx, payload)
        if value is REFUSED or "refused" in answer:
            if (value is REFUSED) != ("refused" in answer):
                differences.add(number, "decode " + kind_of(answer, value), f"{hex_of(payload)} {answer} {value}")
        elif not same(transcoder, number, answer, value):
            differences.add(number, "decode differs", f"{hex_of(payload)} {answer['text']} {value}")
    return len(asked)


def compare_encoding(number, transcoder, program, differences):
    values = Values(program)
    asked = [theirs(transcoder.from_knx, payload) for payload in payloads(transcoder)]
    asked = [value for value in asked if value is not REFUSED and "\n" not in str(value)]
    if hasattr(transcoder, "resolution"):
        asked += numbers_between(transcoder)
    for value in asked:
        values.encode(number, text_of(number, value))
    for value, answer in zip(asked, values.answers()):
        payload = theirs(transcoder.to_knx, value)
        if payload is REFUSED and "refused" in answer:
            continue
        if payload is REFUSED or "refused" in answer:
            differences.add(number, "encode " + kind_of(answer, payload), f"{value} {answer} {payload}")
        elif isinstance(value, float) and math.isnan(value):
            if answer["hex"] != "7fc00000":  # they send any
                differences.add(number, "encode differs", f"{value} {answer['hex']}")
        elif hex_of(payload) != answer["hex"]:
            differences.add(number, "encode differs", f"{value} {answer['hex']} {hex_of(payload)}")
    return len(asked)


def main():
    program, path = sys.argv[1:3]
    random.seed(1)
    differences = Differences(path, "xknx", STEP == 1)
    transcoders = {transcoder.dpt_number_str(): transcoder for transcoder in DPTBase.dpt_class_tree()
                   if transcoder.has_distinct_dpt_numbers()}
    ours = Values(program)
    for number in transcoders:
        ours.decode(number, "")
    unknown = [number for number, answer in zip(transcoders, ours.answers()) if "no datapoint type" in answer["refused"]]
    for number in unknown:
        differences.add(number, "only they know", "")
        del transcoders[number]
    decoded = sum(compare_decoding(*entry, program, differences) for entry in transcoders.items())
    encoded = sum(compare_encoding(*entry, program, differences) for entry in transcoders.items())
    print(f"xknx: {len(transcoders)} types, {decoded} values decoded, {encoded} encoded; differences:")
    sys.exit(0 if differences.judge() else 1)


main()
