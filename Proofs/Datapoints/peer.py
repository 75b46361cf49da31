"""What the other programs' comparisons with datapoint-values share.

A difference is told as one line: the type, the direction, and what is different. The file `differences` has all that are
known, with their reasons; a line that is there and not found is as wrong as one that is found and not there.
"""

import collections
import fnmatch
import json
import subprocess
import sys


class Values:
    """Collects questions for datapoint-values and asks all of them at once."""

    def __init__(self, program):
        self.program = program
        self.lines = []

    def decode(self, number, value):
        self.lines.append(f"decode {number} {value}")

    def encode(self, number, text):
        self.lines.append(f"encode {number} {text}")

    def answers(self):
        output = subprocess.run([self.program], input="\n".join(self.lines) + "\n", stdout=subprocess.PIPE, check=True,
                                encoding="utf-8").stdout
        answers = [json.loads(line) for line in output.split("\n")[:-1]]
        assert len(answers) == len(self.lines)
        return answers


class Differences:
    def __init__(self, path, peer, is_complete):
        self.peer = peer
        self.is_complete = is_complete  # whether each known difference must be found
        self.known = {}  # (pattern of types, what): reason
        self.found = {}  # (type, what): [how many, an example]
        with open(path, encoding="utf-8") as file:
            for line in file:
                if line.strip() and not line.startswith("#"):
                    name, types, what, reason = (part.strip() for part in line.split("|"))
                    if name == peer:
                        self.known[types, what] = reason

    def add(self, number, what, example):
        printable = "".join(character if character.isprintable() else "?" for character in example)
        self.found.setdefault((number, what), [0, printable])[0] += 1

    def judge(self):
        """Prints a table of what is known, and whether there is nothing else."""
        used = collections.defaultdict(lambda: [set(), 0, ""])
        good = True
        for (number, what), (count, example) in sorted(self.found.items()):
            key = next((key for key in self.known if key[1] == what and any(
                fnmatch.fnmatchcase(number, pattern) for pattern in key[0].split())), None)
            if key is None:
                good = False
                print(f"{self.peer}: {number}: {what}: {count} times, such as {example}", file=sys.stderr)
                continue
            entry = used[key]
            entry[0].add(number)
            entry[1] += count
            entry[2] = entry[2] or example
        for key in self.known.keys() - used.keys() if self.is_complete else ():
            good = False
            print(f"{self.peer}: {key[0]}: {key[1]}: is known, but not found", file=sys.stderr)
        for (types, what), (numbers, count, example) in used.items():
            print(f"  {len(numbers):3d} types {count:7d} values  {what}: {self.known[types, what]} ({example:.100})")
        return good
