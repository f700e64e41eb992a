#!/usr/bin/env python3
"""Makes from options.tsv what every option needs, in one row for each.

| Column | Meaning |
| --- | --- |
| name | of the functions BrevexGet... and BrevexSet...; empty for a field without functions |
| field, type, default | in TOptimizerOptions; a row without a field has functions of its own, and its default is theirs |
| profile | reset: to the default by every profile; kept: left alone |
| rule | the operation of TOptimizerOptions that stores a value; empty where it is stored as given |
| stored | a value that every rule stores, for the tests |
| flag, group | name of the flag of the command, and where the help lists it; empty for an option without a flag |
| value | what the flag takes: bool, dpi, dpi any (also below 0), range FIRST LAST, name NAMES ALLOWED, set NAMES ALLOWED;
  a function of the command that sets it may follow bool |
| effect | of the flag: none, content, version; see TEffect |
| works | no: the help says that the option has no effect yet; never: it is kept for callers of old, and its help says so |
| help, note | for the help of the command, and for the header |
"""

import csv
import re
import sys

from generator import TABLES, emit

SOURCE = "options.tsv"

PUBLIC = {
    "false": "0",
    "true": "1",
    "eColorConversionNone": "BREVEX_COLOR_CONVERSION_NONE",
    "eDitheringThreshold": "0",
    "eCipherUnspecified": "BREVEX_CIPHER_UNSPECIFIED",
}


def rows():
    with open(TABLES / SOURCE, encoding="utf-8", newline="") as file:
        return list(csv.DictReader(file, delimiter="\t", quoting=csv.QUOTE_NONE))


def public_default(row):
    value = row["default"]
    if value.startswith("eCompression"):
        return "BREVEX_COMPRESSION_" + value.removeprefix("eCompression").upper()
    return PUBLIC.get(value, value)


def field(row):
    note = f"  // {row['note']}" if row["note"] else ""
    return f"{row['type']} {row['field']} = {row['default']};{note}"


def function(row):
    name, member, rule, kind = row["name"], row["field"], row["rule"], row["type"]
    if kind == "bool":
        return f"FLAG_OPTION({name}, {member})"
    if kind == "double":
        return f"DPI_OPTION({name}, {member})"
    c_type = "unsigned" if kind == "unsigned" else "int"
    if rule:
        return f"RULED_OPTION({c_type}, {name}, {member}, {rule})"
    return f"NUMBER_OPTION({c_type}, {name}, {member})"


def setting(row):
    words = row["value"].split()
    setter = f"BrevexSet{row['name']}"
    match words[0]:
        case "bool":
            return f"TBoolSetting{{{words[1] if len(words) > 1 else setter}}}"
        case "dpi":
            return f"TDpiSetting{{{setter}, {'true' if len(words) > 1 else 'false'}}}"
        case "range":
            return f"TRangeSetting{{{setter}, {words[1]}, {words[2]}}}"
        case "name":
            return f"TNameSetting{{{setter}, {words[1]}, {words[2]}}}"
        case "set":
            return f"TSetSetting{{{setter}, {words[1]}, {words[2]}}}"
    sys.exit(f"{SOURCE}: {row['name']}: what is {row['value']}?")


def flag(row):
    text = row["help"] + (" (no effect yet)" if row["works"] == "no" else "")
    group = "g_sz" + row["group"].capitalize()
    effect = "Pending" if row["works"] == "no" else row["effect"].capitalize()
    return f'{{"{row["flag"]}", {group}, "{text}", TEffect::{effect}, {setting(row)}}},'


def check(table):
    for column in ("name", "field", "flag"):
        values = [row[column] for row in table if row[column]]
        for value in set(values):
            if values.count(value) > 1:
                sys.exit(f"{SOURCE}: {value} is there twice")
    for row in table:
        if row["field"] and not re.fullmatch(r"m_[ndb]\w+", row["field"]):
            sys.exit(f"{SOURCE}: {row['field']} is no name of a field")


def main():
    table = rows()
    check(table)
    fields = [row for row in table if row["field"]]
    named = [row for row in table if row["name"]]
    targets = {
        "src/engine/OptimizerOptionFields.inc": [field(row) for row in fields],
        "src/engine/OptimizerOptionsKept.inc": [f"KEPT({r['field']})" for r in fields if r["profile"] == "kept"],
        "src/api/OptionFunctions.inc": [function(row) for row in named if row["field"]],
        "tools/brevex/SettingFlags.inc": [flag(row) for row in table if row["flag"]],
        "tests/engine/OptionFields.inc": [f"FIELD({row['field']})" for row in fields],
        "tests/api/OptionRows.inc": [f"OPTION({r['name']}, {public_default(r)}, {r['stored']})" for r in named],
        "tests/api/OptionNames.inc": [f"NAME(Brevex{verb}{r['name']})," for r in named for verb in ("Get", "Set")],
    }
    return max(emit(__file__, [SOURCE], target, lines) for target, lines in targets.items())


if __name__ == "__main__":
    sys.exit(main())
