#!/usr/bin/env python3
"""Doxygen's input filter for the public headers; the headers themselves are not changed.

Two things the headers do for their readers that Doxygen would misread:
  - their /// comments are plain text: they name headers and templates (<mlib/text.h>,
    SyncMap<int, String>) and quote escapes ("\\r\\n") that Doxygen would take for HTML
    tags and commands, so '<', '>', '\\' and the like are escaped (outside `code`; the
    \\file command is kept);
  - one comment often serves a run of declarations that follow it without a blank line
    (TrimLeft, TrimRight, Trim); each later declaration of the run gets the same text, put
    on its own line so that line numbers stay.
"""
import re
import sys

KEPT_COMMANDS = re.compile(r'\\file\b')
DOC = re.compile(r'^(\s*)(///<?)(.*)$')
ACCESS_LABEL = re.compile(r'^(public|protected|private)\s*:\s*$')
SCOPE_WORDS = re.compile(r'\b(namespace|class|struct|union|enum)\b|extern\s+"')


def escape(text):
    out = []
    in_code = False
    for i, c in enumerate(text):
        if c == '`':
            in_code = not in_code
            out.append(c)
        elif in_code:
            out.append(c)
        elif c == '\\' and KEPT_COMMANDS.match(text, i):
            out.append(c)
        elif c in '<>\\&@#%$':
            out.append('\\' + c)
        elif c == ':' and text.startswith('::', i) and not text.startswith(':', i + 2) \
                and (i == 0 or text[i - 1] != ':'):
            out.append('\\')  # "A::B" in text is not a request for a link to B
            out.append(c)
        else:
            out.append(c)
    return ''.join(out)


def code_part(line):
    """The line without its comment and with the insides of literals dropped."""
    out = []
    i = 0
    quote = None
    while i < len(line):
        c = line[i]
        if quote:
            if c == '\\':
                i += 2
                continue
            if c == quote:
                quote = None
        elif c in '"\'':
            quote = c
            out.append(c)
        elif line.startswith('//', i):
            break
        else:
            out.append(c)
        i += 1
    return ''.join(out)


def main():
    depth = 0            # braces open at the start of the line
    in_statement = False
    start_depth = 0      # depth at which the current statement began
    statement = ''
    pending = None       # a /// block waiting for its declaration
    group = None         # the text that documents the current run of declarations
    with open(sys.argv[1], encoding='utf-8') as source:
        for raw in source:
            line = raw.rstrip('\n')
            stripped = line.strip()
            match = DOC.match(line)
            if match:
                line = match.group(1) + match.group(2) + escape(match.group(3))
                if match.group(2) == '///':
                    pending = (pending or []) + [escape(match.group(3)).strip()]
                print(line)
                continue
            if not in_statement and ACCESS_LABEL.match(stripped):
                group = None
                pending = None
                print(line)
                continue
            if not stripped or stripped.startswith('//') or stripped.startswith('#'):
                if not in_statement:
                    group = None
                    if not stripped.startswith('#'):
                        pending = None
                print(line)
                continue

            if not in_statement and not stripped.startswith('}'):
                start_depth = depth
                statement = ''
                in_statement = True
                if pending:
                    group = pending
                elif group:
                    indent = line[:len(line) - len(line.lstrip())]
                    line = indent + '/** ' + ' '.join(group) + ' */ ' + line.lstrip()
                pending = None
            print(line)

            for c in code_part(raw.rstrip('\n')):
                if c == '{':
                    depth += 1
                elif c == '}':
                    depth -= 1
                    if depth < start_depth:        # the enclosing scope closes
                        in_statement = False
                        group = None
                        start_depth = depth
                    elif depth == start_depth and in_statement:
                        in_statement = False       # an inline body ends the declaration
                elif c == ';' and depth == start_depth:
                    in_statement = False
                statement += c
            if in_statement and depth > start_depth and SCOPE_WORDS.search(statement):
                in_statement = False               # inside a class, namespace or extern "C"
                group = None
                start_depth = depth


main()
