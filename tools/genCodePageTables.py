#!/usr/bin/env python3
"""Builds the code page tables of mlib's POSIX conversions from the recorded Windows answers.

Reads the answer files in tests/data (cpNNN-to-wide.txt, cpNNN-from-wide.txt and
defaults.txt; format described in docs/codepages.md) and writes, for every ANSI code page,

    src/platform/posix/codePageTablesNNN.inc

Each table file specialises SingleBytePage<NNN> or DoubleBytePage<NNN>
(src/platform/posix/codePageTables.h) with the bytes-to-UTF-16 tables and the best-fit
list: the UTF-16 units whose bytes are not what the inverse of the bytes-to-UTF-16 tables
gives. The library builds the UTF-16-to-bytes table at first use (inverse first, then the
best-fit list), so before writing anything this script builds it the same way and checks
it, and the engine's parsing rules, against every answer line of every page; any
disagreement stops it with status 1 and nothing is written.

Usage: python3 tools/genCodePageTables.py [repository root]   (default: this script's ..)
"""

import os
import sys

SINGLE_BYTE_PAGES = [874, 1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258]
DOUBLE_BYTE_PAGES = [932, 936, 949, 950]


def fail(message):
    print("genCodePageTables: " + message, file=sys.stderr)
    sys.exit(1)


def load(path):
    rows = []
    with open(path, encoding="ascii") as f:
        for line in f:
            left, right = line.rstrip("\n").split("\t")
            rows.append(([int(x, 16) for x in left.split()], [int(x, 16) for x in right.split()]))
    return rows


class Facts:
    """What defaults.txt says about one code page."""

    def __init__(self, data_dir, code_page):
        fields = {}
        with open(os.path.join(data_dir, "defaults.txt"), encoding="ascii") as f:
            for line in f:
                page, field, value = line.rstrip("\n").split("\t")
                if page == str(code_page):
                    fields[field] = value
        for name in ("MaxCharSize", "DefaultChar", "UnicodeDefaultChar", "LeadByteRanges"):
            if name not in fields:
                fail("defaults.txt has no %s for %d" % (name, code_page))
        self.max_char_size = int(fields["MaxCharSize"])
        default = [int(x, 16) for x in fields["DefaultChar"].split()]
        if len(default) != 1:
            fail("%d: default character of %d bytes" % (code_page, len(default)))
        self.default_byte = default[0]
        self.default_unit = int(fields["UnicodeDefaultChar"], 16)
        values = [int(x, 16) for x in fields["LeadByteRanges"].split()]
        self.leads = set()
        for i in range(0, len(values), 2):
            self.leads.update(range(values[i], values[i + 1] + 1))
        # The engines write '?' for a unit without bytes, and give '?' for a byte
        # sequence without a character unless the page names another unit.
        if self.default_byte != 0x3F:
            fail("%d: default character %02X, the engines know only '?'" % (code_page, default[0]))
        if not self.leads and self.default_unit != 0x3F:
            fail("%d: a single-byte page whose Unicode default is not '?'" % code_page)


# ------------------------------------------------------------------ UTF-16 to bytes

def encode(value):
    return [value] if value < 0x100 else [value >> 8, value & 0xFF]


def inverse_table(sequences, facts):
    """What the library builds at first use before the best-fit list: the default byte
    everywhere, then each sequence's unit pointing back at it, in the given order (a later
    sequence wins). Units equal to the Unicode default character are left out: they are
    also what a sequence with no character gives."""
    table = [facts.default_byte] * 0x10000
    for value, unit in sequences:
        if unit != facts.default_unit:
            table[unit] = value
    return table


def derive_best_fit(code_page, sequences, from_rows, facts):
    """The units whose recorded bytes differ from the inverse, with those bytes."""
    answers = {}
    for units, out in from_rows:
        if len(units) == 1:
            answers[units[0]] = out
    if sorted(answers) != list(range(1, 0x10000)):
        fail("%d: expected one answer for each unit 0001-FFFF" % code_page)
    table = inverse_table(sequences, facts)
    best_fit = []
    for unit in range(1, 0x10000):
        out = answers[unit]
        if not 1 <= len(out) <= facts.max_char_size:
            fail("%d: unit %04X gives %d bytes" % (code_page, unit, len(out)))
        value = out[0] if len(out) == 1 else (out[0] << 8) | out[1]
        if len(out) == 2 and out[0] not in facts.leads:
            fail("%d: unit %04X gives two bytes without a lead byte" % (code_page, unit))
        if len(out) == 1 and out[0] in facts.leads:
            fail("%d: unit %04X gives a lone lead byte" % (code_page, unit))
        if table[unit] != value:
            best_fit.append((unit, value))
            table[unit] = value
    return best_fit, table


def check_from_wide(code_page, rows, table):
    for units, out in rows:
        got = []
        for u in units:
            if u == 0:
                break
            got += encode(table[u])
        if got != out:
            fail("%d from wide %s: built tables give %s, answer %s" % (code_page, units, got, out))


# ------------------------------------------------------------------ single-byte pages

def gen_single_byte(data_dir, code_page):
    facts = Facts(data_dir, code_page)
    if facts.leads or facts.max_char_size != 1:
        fail("%d: not a single-byte page" % code_page)
    to_rows = load(os.path.join(data_dir, "cp%d-to-wide.txt" % code_page))
    to_wide = [None] * 256
    to_wide[0] = 0
    for inp, out in to_rows:
        if len(inp) == 1:
            if len(out) != 1:
                fail("%d: byte %02X gives %d units" % (code_page, inp[0], len(out)))
            to_wide[inp[0]] = out[0]
    if None in to_wide:
        fail("%d: no answer for byte %02X" % (code_page, to_wide.index(None)))
    # The engine's rule: every byte is its own unit, whatever surrounds it.
    for inp, out in to_rows:
        got = []
        for b in inp:
            if b == 0:
                break
            got.append(to_wide[b])
        if got != out:
            fail("%d to wide %s: rules give %s, answer %s" % (code_page, inp, got, out))
    from_rows = load(os.path.join(data_dir, "cp%d-from-wide.txt" % code_page))
    sequences = [(b, to_wide[b]) for b in range(256)]
    best_fit, table = derive_best_fit(code_page, sequences, from_rows, facts)
    check_from_wide(code_page, from_rows, table)
    return {"to_wide": to_wide, "best_fit": best_fit, "lines": len(to_rows) + len(from_rows)}


# ------------------------------------------------------------------ double-byte pages

def parse_double_byte(data, page):
    """The engine's rule: a lead byte and the non-zero byte after it make one character,
    the default unit where the pair is none; a lead byte at the end or before a zero is the
    default unit alone."""
    single, double, leads = page["single"], page["double"], page["leads"]
    first, last, default = page["trail_first"], page["trail_last"], page["default_unit"]
    out = []
    i = 0
    while i < len(data) and data[i] != 0:
        b = data[i]
        if b in leads:
            if i + 1 < len(data) and data[i + 1] != 0:
                t = data[i + 1]
                out.append(double[b][t] if first <= t <= last else default)
                i += 2
                continue
            out.append(default)
        else:
            out.append(single[b])
        i += 1
    return out


def gen_double_byte(data_dir, code_page):
    facts = Facts(data_dir, code_page)
    leads = facts.leads
    if not leads or facts.max_char_size != 2:
        fail("%d: not a double-byte page" % code_page)
    default = facts.default_unit
    to_rows = load(os.path.join(data_dir, "cp%d-to-wide.txt" % code_page))
    single = [None] * 256
    single[0] = 0
    double = {lead: [None] * 256 for lead in leads}
    for inp, out in to_rows:
        if len(inp) == 1:
            if len(out) != 1:
                fail("%d: byte %02X gives %d units" % (code_page, inp[0], len(out)))
            single[inp[0]] = out[0]
        elif len(inp) == 2 and inp[0] in leads and inp[1] != 0:
            if len(out) != 1:
                fail("%d: pair %s gives %d units" % (code_page, inp, len(out)))
            double[inp[0]][inp[1]] = out[0]
    if None in single:
        fail("%d: no answer for byte %02X" % (code_page, single.index(None)))
    for lead in leads:
        if single[lead] != default:
            fail("%d: lone lead byte %02X is not the default unit" % (code_page, lead))
        if None in double[lead][1:]:
            fail("%d: no answer for pair %02X %02X" % (code_page, lead, double[lead].index(None, 1)))
    # The trail bytes that form characters under some lead byte; every other second byte
    # still belongs to its lead byte (the rule below checks that on every answer line).
    trails = [t for t in range(1, 256) if any(double[lead][t] != default for lead in leads)]
    page = {"single": single, "double": double, "leads": leads, "default_unit": default,
            "trail_first": min(trails), "trail_last": max(trails)}
    for inp, out in to_rows:
        got = parse_double_byte(inp + [0], page)
        if got != out:
            fail("%d to wide %s: rules give %s, answer %s" % (code_page, inp, got, out))
    from_rows = load(os.path.join(data_dir, "cp%d-from-wide.txt" % code_page))
    # The order the library inverts in: the single bytes, then the pairs by lead and trail.
    sequences = [(b, single[b]) for b in range(256) if b not in leads]
    sequences += [((lead << 8) | t, double[lead][t]) for lead in sorted(leads)
                  for t in range(page["trail_first"], page["trail_last"] + 1)]
    best_fit, table = derive_best_fit(code_page, sequences, from_rows, facts)
    check_from_wide(code_page, from_rows, table)
    page.update({"best_fit": best_fit, "lines": len(to_rows) + len(from_rows)})
    return page


# ------------------------------------------------------------------ output

HEADER = """// Generated by tools/genCodePageTables.py from tests/data/cp{cp}-*.txt and defaults.txt
// (the recorded Windows answers); do not edit. The tables of code page {cp}, for
// src/platform/posix/codePage{kind}.cpp.
"""


def rows_of(values, width, per_line, indent="    "):
    fmt = "0x%0" + str(width) + "X,"
    lines = []
    for i in range(0, len(values), per_line):
        lines.append(indent + " ".join(fmt % v for v in values[i:i + per_line]))
    return "\n".join(lines)


def best_fit_rows(best_fit, width):
    fmt = "{0x%04X, 0x%0" + str(width) + "X},"
    lines = []
    for i in range(0, len(best_fit), 5):
        lines.append("      " + " ".join(fmt % p for p in best_fit[i:i + 5]))
    return "\n".join(lines)


def best_fit_text(best_fit, kind, width):
    text = ("\n  // Units whose bytes are not the inverse of the tables above (look-alikes Windows\n"
            "  // writes, or the one of several sequences it picks), by unit; every other unit\n"
            "  // without bytes becomes the default character.\n")
    # An empty array is not C++; a page without entries would get one harmless entry.
    if not best_fit:
        fail("a page without best-fit units needs another table layout")
    text += "  static constexpr %s kBestFit[%d] = {\n" % (kind, len(best_fit))
    return text + best_fit_rows(best_fit, width) + "\n  };\n"


def single_byte_text(code_page, page):
    text = HEADER.format(cp=code_page, kind="SingleByte")
    text += "\ntemplate <>\nstruct SingleBytePage<%d> {\n" % code_page
    text += "  // Each byte's UTF-16 unit.\n"
    text += "  static constexpr WideChar kToWide[256] = {\n"
    text += rows_of(page["to_wide"], 4, 8, "      ") + "\n  };\n"
    text += best_fit_text(page["best_fit"], "BestFitByte", 2)
    return text + "};\n"


def double_byte_text(code_page, page):
    leads = sorted(page["leads"])
    first, last = page["trail_first"], page["trail_last"]
    row_of = [0] * 256
    for row, lead in enumerate(leads):
        row_of[lead] = row + 1
    text = HEADER.format(cp=code_page, kind="DoubleByte")
    text += "\ntemplate <>\nstruct DoubleBytePage<%d> {\n" % code_page
    text += ("  // What a byte sequence with no character becomes: a lead byte alone, or with a\n"
             "  // second byte that forms no character.\n")
    text += "  static constexpr WideChar kDefaultUnit = 0x%04X;\n" % page["default_unit"]
    text += ("  // Trail bytes that can form a character; any other non-zero second byte still\n"
             "  // belongs to the lead byte, and the pair is kDefaultUnit.\n")
    text += "  static constexpr unsigned kTrailFirst = 0x%02X;\n" % first
    text += "  static constexpr unsigned kTrailLast = 0x%02X;\n" % last
    text += ("\n  // Each lead byte's row in kDoubleToWide, plus one; 0 for the bytes that are no\n"
             "  // lead byte.\n")
    text += "  static constexpr std::uint8_t kLeadRow[256] = {\n"
    text += rows_of(row_of, 2, 12, "      ") + "\n  };\n"
    text += "\n  // Each byte's UTF-16 unit when it stands alone (a lone lead byte is kDefaultUnit).\n"
    text += "  static constexpr WideChar kSingleToWide[256] = {\n"
    text += rows_of(page["single"], 4, 8, "      ") + "\n  };\n"
    text += ("\n  // Two-byte characters: [row][trail - kTrailFirst]; kDefaultUnit where the pair\n"
             "  // is no character.\n")
    text += "  static constexpr WideChar kDoubleToWide[%d][%d] = {\n" % (len(leads), last - first + 1)
    for lead in leads:
        text += "      {  // %02X\n" % lead
        text += rows_of(page["double"][lead][first:last + 1], 4, 10, "          ") + "\n      },\n"
    text += "  };\n"
    text += best_fit_text(page["best_fit"], "BestFitPair", 4)
    return text + "};\n"


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else os.path.join(
        os.path.dirname(os.path.abspath(__file__)), "..")
    data_dir = os.path.join(root, "tests", "data")
    out_dir = os.path.join(root, "src", "platform", "posix")
    outputs = []
    for code_page in SINGLE_BYTE_PAGES:
        page = gen_single_byte(data_dir, code_page)
        outputs.append((code_page, single_byte_text(code_page, page), page))
    for code_page in DOUBLE_BYTE_PAGES:
        page = gen_double_byte(data_dir, code_page)
        outputs.append((code_page, double_byte_text(code_page, page), page))
    # Every page agreed with every answer line: only now is anything written.
    for code_page, text, page in outputs:
        path = os.path.join(out_dir, "codePageTables%d.inc" % code_page)
        with open(path, "w", encoding="ascii", newline="\n") as f:
            f.write(text)
        print("%5d: %6d answer lines agree, %4d best-fit units"
              % (code_page, page["lines"], len(page["best_fit"])))


if __name__ == "__main__":
    main()
