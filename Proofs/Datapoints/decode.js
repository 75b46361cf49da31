// Decodes for with_node.py: node decode.js MODULE reads lines "9.001 0c1a" and answers each with one of JSON, or "null" when
// it does not know the type, "false" when it refuses the value.
"use strict";

const fs = require("fs");

// The libraries say what they think of each value.
const write = process.stdout.write.bind(process.stdout);
process.stdout.write = () => true;
process.stderr.write = () => true;

const dpts = require(process.argv[2]);
const types = new Map();

function typeOf(number) {
  if (!types.has(number)) {
    let type = null;
    try {
      type = dpts.resolve(number);
      type = type.subtype ? type : null; // it knows only the main type
    } catch (unknown) {
      // null
    }
    types.set(number, type);
  }
  return types.get(number);
}

function answer(line) {
  const [number, hex] = line.split(" ");
  const type = typeOf(number);
  if (type === null) {
    return "null";
  }
  let value;
  try {
    value = dpts.fromBuffer(Buffer.from(hex.replace("0x", ""), "hex"), type);
  } catch (refused) {
    return "false";
  }
  if (value === undefined || value === null || value instanceof Error) {
    return "false";
  }
  if (value instanceof Date) {
    value = { date: [value.getFullYear(), value.getMonth() + 1, value.getDate()],
              time: [value.getHours(), value.getMinutes(), value.getSeconds()] };
  }
  return JSON.stringify({ value: typeof value === "bigint" ? value.toString() : value,
                          text: String(value) });
}

const lines = fs.readFileSync(0, "utf8").split("\n").filter((line) => line !== "");
write(lines.map(answer).join("\n") + "\n");
