"""Compares what datapoint-values decodes with a library of Node's.

    with_node.py DATAPOINT-VALUES DIFFERENCES NODE-MODULE [STEP]

All types that the library knows; all values of up to 16 bits, or of those of 16 bits every STEPth, and random ones of all
others. The seed is always the same.
"""

import json
import math
import os
import random
import struct
import subprocess
import sys

sys.path.insert(0, os.path.dirname(__file__))
from peer import Differences, Values  # noqa: E402

RANDOM_VALUES = 1000

# Names of fields that are not the same but for their case.
OTHER_NAMES = {
    "2": {"priority": "control", "data": "value"},
    "3": {"decrincr": "direction", "data": "step"},
    "18": {"saverecall": "control", "scenenumber": "scene"},
    "21": {"fault": "corrupted", "alarmunack": "notAcknowledged"},
    "22": {"tempreturnlimit": "tempFlowReturnLimit"},
    "235": {"validityenergy": "energyInvalid", "validitytariff": "tariffInvalid"},
    "237": {"readresponse": "readOrResponse", "addresstype": "addressIndicator", "addressindicator": "addressIndicator",
            "address": "address", "daliaddress": "address", "convertorerror": "converterError"},
    "242": {"iscolorvalid": "validityXy", "isbrightnessvalid": "validityBrightness"},
    "249": {"transitiontime": "time", "isinvalidtransitiontime": "validityTime"},
    "251": {"mr": "validityRed", "mg": "validityGreen", "mb": "validityBlue", "mw": "validityWhite"},
}


def words(text):
    return "".join(letter for letter in text.lower() if letter.isalnum())


def number_of(value):
    """Of what JSON has a number, a boolean or a text for."""
    if isinstance(value, str) and value.endswith(("interval", "intervals")):
        return int(value.split()[0]).bit_length()
    if value == "break":
        return 0
    try:
        return float(value)
    except (TypeError, ValueError):
        return None


def same_number(ours, theirs):
    ours, theirs = number_of(ours), number_of(theirs)
    if ours is None or theirs is None:
        return False
    return ours == theirs or math.isclose(ours, theirs, rel_tol=1e-12) or math.isnan(ours) and math.isnan(theirs)


def same_float32(ours, theirs):
    return struct.pack(">f", float(ours)) == struct.pack(">f", float(theirs)) or same_number(ours, theirs)


def same(number, value, answer, theirs):
    ours, main = answer["json"], number.split(".")[0]
    their_value = theirs["value"]
    if isinstance(their_value, dict) and "date" in their_value:
        date = main == "10" or [ours["year"], ours["month"], ours["day"]] == their_value["date"]
        time = main == "11" or [ours["hour"], ours["minutes"], ours["seconds"]] == their_value["time"]
        return date and time
    if isinstance(their_value, dict):
        names = {words(name): name for name in ours} | OTHER_NAMES.get(main, {})
        fields = {names.get(words(name)): field for name, field in their_value.items() if name != "reserved"}
        return None not in fields and all(same_number(ours[name], field) for name, field in fields.items())
    if isinstance(ours, str) and isinstance(their_value, str):
        return ours == their_value
    if their_value is None:
        their_value = theirs["text"]  # no number, or an infinite one
    if main == "14":
        return same_float32(ours, their_value)
    if main in ("20", "23"):
        ours = int(value, 16)
    return same_number(ours, their_value)


def values_of(entry, step):
    size = (entry["bits"] + 7) // 8
    if entry["bits"] <= 6:
        return [f"0x{bits:02x}" for bits in range(2 ** entry["bits"])]
    if size <= 2:
        return [bits.to_bytes(size, "big").hex() for bits in range(0, 256 ** size, step if size == 2 else 1)]
    main = entry["type"].split(".")[0]
    sizes = {"10": ((0, 255), (0, 59), (0, 59)), "11": ((1, 28), (1, 12), (0, 99)), "16": ((32, 126),) * 14,
             "19": ((0, 255), (1, 12), (1, 28), (0, 23), (0, 59), (0, 59), (0, 255), (0, 255)), "28": ((33, 126),) * 5}
    ranges = sizes.get(main, ((0, 255),) * size)
    return [bytes(random.randint(*ends) for ends in ranges).hex() for _ in range(RANDOM_VALUES)]


def batches(questions):
    """So many at a time that the lines have room in memory."""
    batch = []
    for question in questions:
        batch.append(question)
        if len(batch) == 200000:
            yield batch
            batch = []
    yield batch


def answers_of(module, questions):
    decoder = os.path.join(os.path.dirname(os.path.abspath(__file__)), "decode.js")
    lines = "".join(f"{number} {value}\n" for number, value in questions)
    output = subprocess.run(["node", decoder, module], input=lines, stdout=subprocess.PIPE, check=True, encoding="utf-8",
                            env={**os.environ, "TZ": "UTC"}).stdout.split("\n")[:-1]
    assert len(output) == len(questions)
    return [json.loads(line) for line in output]


def main():
    program, path, module = sys.argv[1:4]
    step = int(sys.argv[4]) if len(sys.argv) > 4 else 1
    random.seed(1)
    name = os.path.basename(module.split("/node_modules/")[1].split("/")[0])
    output = subprocess.run([program, "types"], stdout=subprocess.PIPE, check=True, encoding="utf-8").stdout
    types = [entry for entry in map(json.loads, output.splitlines()) if "." in entry["type"]]
    differences = Differences(path, name, step == 1)
    known = [entry for entry, answer in zip(types, answers_of(module, [(entry["type"], "00") for entry in types]))
             if answer is not None]
    decoded = 0
    for batch in batches((entry["type"], value) for entry in known for value in values_of(entry, step)):
        decoded += len(batch)
        values = Values(program)
        for question in batch:
            values.decode(*question)
        for (number, value), answer, theirs in zip(batch, values.answers(), answers_of(module, batch)):
            if theirs is False:
                differences.add(number, "only they refuse", f"{value} {answer['text']}")
            elif not same(number, value, answer, theirs):
                differences.add(number, "decode differs", f"{value} {answer['text']} {theirs['value']}")
    print(f"{name}: {len(known)} types, {decoded} values decoded; differences:")
    sys.exit(0 if differences.judge() else 1)


main()
