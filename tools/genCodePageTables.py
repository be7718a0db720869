#!/usr/bin/env python3
"""Builds the code page tables of mlib's POSIX conversions from the recorded Windows answers.

Reads the answer files in tests/data (cp1252-*.txt, cp936-*.txt; format described in
docs/codepages.md) and writes

    src/platform/posix/codePageTables1252.inc
    src/platform/posix/codePageTables936.inc

Each table file holds the bytes-to-UTF-16 table and the best-fit list: the UTF-16 units
whose bytes are not the inverse of the bytes-to-UTF-16 table. The library builds the
UTF-16-to-bytes table at first use (inverse first, then the best-fit list), so before
writing anything this script builds it the same way and checks it, and the engine's
parsing rules, against every answer line; a disagreement stops it with status 1.

Usage: python3 tools/genCodePageTables.py [repository root]   (default: this script's ..)
"""

import os
import sys

QUESTION = 0x3F          # the default character of both code pages, as byte and as unit
TRAIL_FIRST, TRAIL_LAST = 0x40, 0xFE   # the only trail bytes 936 defines characters for


def load(path):
    rows = []
    with open(path, encoding="ascii") as f:
        for line in f:
            left, right = line.rstrip("\n").split("\t")
            rows.append(([int(x, 16) for x in left.split()], [int(x, 16) for x in right.split()]))
    return rows


def fail(message):
    print("genCodePageTables: " + message, file=sys.stderr)
    sys.exit(1)


def lead_ranges(data_dir, code_page):
    for row in load_defaults(data_dir):
        if row[0] == str(code_page) and row[1] == "LeadByteRanges":
            values = [int(x, 16) for x in row[2].split()]
            return [(values[i], values[i + 1]) for i in range(0, len(values), 2)]
    fail("no LeadByteRanges for %d in defaults.txt" % code_page)
    return []


def load_defaults(data_dir):
    with open(os.path.join(data_dir, "defaults.txt"), encoding="ascii") as f:
        return [line.rstrip("\n").split("\t") for line in f]


# ------------------------------------------------------------------ inverse and best fit

def single_units(rows):
    """The 65535 one-unit answers: unit -> list of bytes."""
    answers = {}
    for units, out in rows:
        if len(units) == 1:
            answers[units[0]] = out
    if len(answers) != 0xFFFF:
        fail("expected 65535 one-unit answers, found %d" % len(answers))
    return answers


def from_wide_table(to_wide, best_fit):
    """What the library builds at first use: byte value (one or two bytes as one number)
    for every unit, '?' where nothing maps."""
    table = [QUESTION] * 0x10000
    table[0] = 0
    for value, unit in to_wide:
        if unit != QUESTION:
            table[unit] = value
    for unit, value in best_fit:
        table[unit] = value
    return table


def encode(value):
    return [value] if value < 0x100 else [value >> 8, value & 0xFF]


def derive_best_fit(to_wide, answers):
    inverse = {}
    for value, unit in to_wide:
        if unit != QUESTION:
            if unit in inverse:
                fail("unit %04X comes from two byte sequences" % unit)
            inverse[unit] = value
    best_fit = []
    for unit in range(1, 0x10000):
        out = answers[unit]
        if len(out) not in (1, 2):
            fail("unit %04X gives %d bytes" % (unit, len(out)))
        value = out[0] if len(out) == 1 else (out[0] << 8) | out[1]
        if unit in inverse:
            if inverse[unit] != value:
                fail("unit %04X: answer %X is not the inverse %X" % (unit, value, inverse[unit]))
        elif value != QUESTION:
            best_fit.append((unit, value))
    return best_fit


def check_from_wide(rows, table):
    for units, out in rows:
        got = []
        for u in units:
            if u == 0:
                break
            got += encode(table[u])
        if got != out:
            fail("from wide %s: built tables give %s, answer %s" % (units, got, out))


# ------------------------------------------------------------------ 1252

def gen_1252(data_dir):
    to_rows = load(os.path.join(data_dir, "cp1252-to-wide.txt"))
    to_wide = [0] * 256
    seen = 0
    for inp, out in to_rows:
        if len(inp) != 1 or len(out) != 1:
            fail("cp1252-to-wide: unexpected line %s" % inp)
        to_wide[inp[0]] = out[0]
        seen += 1
    if seen != 255:
        fail("cp1252-to-wide: expected 255 lines, found %d" % seen)
    from_rows = load(os.path.join(data_dir, "cp1252-from-wide.txt"))
    pairs = [(b, to_wide[b]) for b in range(256)]
    best_fit = derive_best_fit(pairs, single_units(from_rows))
    check_from_wide(from_rows, from_wide_table(pairs, best_fit))
    return to_wide, best_fit, len(to_rows) + len(from_rows)


# ------------------------------------------------------------------ 936

def parse_936(data, single, double, leads):
    """The engine's rule: a lead byte and a non-zero byte after it make one character;
    a lead byte at the end or before a zero becomes '?' alone."""
    out = []
    i = 0
    while i < len(data) and data[i] != 0:
        b = data[i]
        if b in leads:
            if i + 1 < len(data) and data[i + 1] != 0:
                t = data[i + 1]
                out.append(double[b][t] if TRAIL_FIRST <= t <= TRAIL_LAST else QUESTION)
                i += 2
                continue
            out.append(QUESTION)
        else:
            out.append(single[b])
        i += 1
    return out


def gen_936(data_dir):
    leads = set()
    for first, last in lead_ranges(data_dir, 936):
        leads.update(range(first, last + 1))
    to_rows = load(os.path.join(data_dir, "cp936-to-wide.txt"))
    single = [0] * 256
    double = {lead: [QUESTION] * 256 for lead in leads}
    for inp, out in to_rows:
        if len(inp) == 1:
            single[inp[0]] = out[0]
        elif len(inp) == 2 and inp[0] in leads and inp[1] != 0:
            if len(out) != 1:
                fail("cp936 pair %s gives %d units" % (inp, len(out)))
            double[inp[0]][inp[1]] = out[0]
    for lead in leads:
        for t in range(256):
            if not TRAIL_FIRST <= t <= TRAIL_LAST and double[lead][t] != QUESTION:
                fail("cp936 pair %02X %02X is defined outside the trail range" % (lead, t))
        if single[lead] != QUESTION:
            fail("cp936 lone lead byte %02X is not '?'" % lead)
    for inp, out in to_rows:
        got = parse_936(inp + [0], single, double, leads)
        if got != out:
            fail("cp936 to wide %s: rules give %s, answer %s" % (inp, got, out))
    from_rows = load(os.path.join(data_dir, "cp936-from-wide.txt"))
    pairs = [(b, single[b]) for b in range(256) if b not in leads]
    pairs += [((lead << 8) | t, double[lead][t]) for lead in sorted(leads) for t in range(256)]
    best_fit = derive_best_fit(pairs, single_units(from_rows))
    check_from_wide(from_rows, from_wide_table(pairs, best_fit))
    first_lead, last_lead = min(leads), max(leads)
    if len(leads) != last_lead - first_lead + 1:
        fail("cp936 lead bytes are not one range")
    return single, double, best_fit, (first_lead, last_lead), len(to_rows) + len(from_rows)


# ------------------------------------------------------------------ output

HEADER = """// Generated by tools/genCodePageTables.py from tests/data/cp{cp}-*.txt (the recorded
// Windows answers); do not edit. Included by src/platform/posix/codePage{cp}.cpp inside its
// anonymous namespace.
"""


def rows_of(values, width, per_line):
    fmt = "0x%0" + str(width) + "X,"
    lines = []
    for i in range(0, len(values), per_line):
        lines.append("    " + " ".join(fmt % v for v in values[i:i + per_line]))
    return "\n".join(lines)


def best_fit_rows(best_fit, width):
    fmt = "{0x%04X, 0x%0" + str(width) + "X},"
    lines = []
    for i in range(0, len(best_fit), 5):
        lines.append("    " + " ".join(fmt % p for p in best_fit[i:i + 5]))
    return "\n".join(lines)


def write_1252(path, to_wide, best_fit):
    text = HEADER.format(cp=1252)
    text += "\n// Each byte's UTF-16 unit.\n"
    text += "constexpr WideChar k1252ToWide[256] = {\n" + rows_of(to_wide, 4, 8) + "\n};\n"
    text += ("\n// Units with no byte of their own that Windows writes as a look-alike byte, by"
             " unit;\n// every other unit without a byte becomes '?'.\n")
    text += "constexpr BestFit1252 k1252BestFit[%d] = {\n" % len(best_fit)
    text += best_fit_rows(best_fit, 2) + "\n};\n"
    with open(path, "w", encoding="ascii", newline="\n") as f:
        f.write(text)


def write_936(path, single, double, best_fit, lead_range):
    first, last = lead_range
    text = HEADER.format(cp=936)
    text += "\n// Lead bytes: each starts a two-byte character.\n"
    text += "constexpr unsigned k936LeadFirst = 0x%02X;\nconstexpr unsigned k936LeadLast = 0x%02X;\n" % (first, last)
    text += ("// Trail bytes that can form a character; any other non-zero second byte still\n"
             "// belongs to the character, which is then '?'.\n")
    text += "constexpr unsigned k936TrailFirst = 0x%02X;\nconstexpr unsigned k936TrailLast = 0x%02X;\n" % (TRAIL_FIRST, TRAIL_LAST)
    text += "\n// Each byte's UTF-16 unit when it stands alone (a lone lead byte is '?').\n"
    text += "constexpr WideChar k936SingleToWide[256] = {\n" + rows_of(single, 4, 8) + "\n};\n"
    count = TRAIL_LAST - TRAIL_FIRST + 1
    text += ("\n// Two-byte characters: [lead - k936LeadFirst][trail - k936TrailFirst]; '?' where the pair\n"
             "// is not a character.\n")
    text += "constexpr WideChar k936DoubleToWide[%d][%d] = {\n" % (last - first + 1, count)
    for lead in range(first, last + 1):
        text += "  {  // %02X\n" % lead
        text += rows_of(double[lead][TRAIL_FIRST:TRAIL_LAST + 1], 4, 12) + "\n  },\n"
    text += "};\n"
    text += ("\n// Units with no bytes of their own that Windows writes as look-alike bytes (two-byte\n"
             "// characters as lead * 256 + trail), by unit; every other such unit becomes '?'.\n")
    text += "constexpr BestFit936 k936BestFit[%d] = {\n" % len(best_fit)
    text += best_fit_rows(best_fit, 4) + "\n};\n"
    with open(path, "w", encoding="ascii", newline="\n") as f:
        f.write(text)


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
    data_dir = os.path.join(root, "tests", "data")
    out_dir = os.path.join(root, "src", "platform", "posix")
    to_wide, best_fit_1252, lines_1252 = gen_1252(data_dir)
    single, double, best_fit_936, lead_range, lines_936 = gen_936(data_dir)
    write_1252(os.path.join(out_dir, "codePageTables1252.inc"), to_wide, best_fit_1252)
    write_936(os.path.join(out_dir, "codePageTables936.inc"), single, double, best_fit_936, lead_range)
    print("1252: %d answer lines agree, %d best-fit units" % (lines_1252, len(best_fit_1252)))
    print("936:  %d answer lines agree, %d best-fit units" % (lines_936, len(best_fit_936)))


if __name__ == "__main__":
    main()
