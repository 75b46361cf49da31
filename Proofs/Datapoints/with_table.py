"""Compares the types of datapoint-values with a table of the field, field by field.

    with_table.py DATAPOINT-VALUES DIFFERENCES TABLE

TABLE has the columns type,name,text,bits,fields. Its fields are separated by " ; ", and are one of
    bit|name|text for 0|text for 1      uint|name|width|min|max|unit|coefficient, also int and float
    enum|name|width|value=text,...      string|name|width|encoding
    reserved||width                     ref|name|DPST-MAIN-SUB_F-NUMBER, which is another type's field
"""

import csv
import json
import re
import subprocess
import sys

sys.path.insert(0, __import__("os").path.dirname(__file__))
from peer import Differences  # noqa: E402

NO_LIMIT = -(2 ** 63)


def words(text):
    return "".join(letter for letter in text.lower() if letter.isalnum())


def fields_of(row):
    return [field.split("|") for field in row["fields"].split(" ; ")]


def resolved(rows, field):
    if field[0] != "ref":
        return field
    main, sub, place = re.fullmatch(r"DPST-(\d+)-(\d+)_F-(\d+)", field[2]).groups()
    named = [other for other in fields_of(rows[f"{main}.{int(sub):03d}"]) if other[0] != "reserved"]
    return resolved(rows, named[int(place) - 1])


def places(fields, width_of, is_reserved):
    """Where the fields that are not reserved begin."""
    begin, found = 0, []
    for field in fields:
        if not is_reserved(field):
            found.append(begin)
        begin += width_of(field)
    return found


def width(field):
    return 1 if field[0] == "bit" else int(field[2])


def range_of_bits(field):
    bits = int(field[2])
    return (0, 2 ** bits - 1) if field[0] == "uint" else (-(2 ** (bits - 1)), 2 ** (bits - 1) - 1)


def compare_number(ours, field, differ):
    kind, _, bits, low, high, unit, coefficient = field
    step = ours["multiplier"] / ours["divisor"]
    if abs(step - float(coefficient or 1)) > 1e-6:
        differ("coefficient", f"{step} {coefficient}")
    if unit != ours["unit"]:
        differ("unit", f"'{ours['unit']}' '{unit}'")
    if kind == "float":
        limits = (ours["lowest"] / 100, ours["highest"] / 100)
        if ours["lowest"] == NO_LIMIT:
            limits = None
        expected = (float(low), float(high)) if low else None
    else:
        limits = tuple(round(ours[end] * step + ours["offset"], 2) for end in ("lowest", "highest"))
        full = tuple(round(end * step, 2) for end in range_of_bits(field))
        expected = (float(low) if low else full[0], float(high) if high else full[1])
    for what, limit, other in zip(("lowest", "highest"), limits or (None, None), expected or (None, None)):
        if limit != other:
            differ(what, f"{limit} {other}")


def compare_texts(ours, field, differ):
    if field[0] == "bit":
        expected = field[2:4]
        texts = ours["texts"].split("|")
    else:
        items = re.split(r",(?=\d+=)", field[3])
        expected = items
        texts = ours["texts"].split("|")
    if [words(text) for text in texts] != [words(text) for text in expected]:
        differ("texts", f"{texts} {expected}")


def compare_type(ours, row, rows, differences):
    number = row["type"]

    def differ(what, example):
        differences.add(number, what, example)

    if ours["text"] != row["text"].strip():
        differ("name", f"'{ours['text']}' '{row['text']}'")
    theirs = [resolved(rows, field) for field in fields_of(row)]
    where = places(ours["fields"], lambda field: field["bits"], lambda field: field["kind"] == "reserved")
    expected = places(theirs, width, lambda field: field[0] == "reserved")
    if ours["bits"] != int(row["bits"]) or where != expected:
        differ("layout", f"{where} {expected}")
        return 0
    count = 0
    named = [field for field in ours["fields"] if field["kind"] != "reserved"]
    for mine, field in zip(named, (field for field in theirs if field[0] != "reserved")):
        count += 1
        if mine["bits"] != width(field):
            differ("width", f"{mine['name']} {field}")
        if words(mine["name"]) != words(field[1]) and len(named) > 1:
            differ("field name", f"'{mine['name']}' '{field[1]}'")
        if mine["kind"] != field[0]:
            differ("kind", f"{mine['kind']} {field}")
        elif field[0] in ("bit", "enum"):
            compare_texts(mine, field, differ)
        elif field[0] == "string":
            if mine["encoding"] != field[3]:
                differ("encoding", f"{mine['encoding']} {field[3]}")
        else:
            compare_number(mine, field, differ)
    return count


def main():
    program, path, table = sys.argv[1:]
    with open(table, encoding="utf-8", newline="") as file:
        rows = {row["type"]: row for row in csv.DictReader(file)}
    output = subprocess.run([program, "types"], stdout=subprocess.PIPE, check=True, encoding="utf-8").stdout
    ours = {entry["type"]: entry for entry in map(json.loads, output.splitlines())}
    differences = Differences(path, "table", True)
    fields = 0
    for number, row in rows.items():
        if number in ours:
            fields += compare_type(ours[number], row, rows, differences)
        else:
            differences.add(number, "only they know", "")
    for number in ours.keys() - rows.keys():
        if "." in number:
            differences.add(number, "only we know", "")
    print(f"table: {len(rows)} types, {fields} fields; differences:")
    sys.exit(0 if differences.judge() else 1)


main()
