#!/usr/bin/env python3
"""Prints a dictionary for fuzzers: the words in quotes of some sources, each once.

    dictionary.py FILE.cpp... > words.dict"""
import re
import sys

words = set()
for name in sys.argv[1:]:
    words.update(re.findall(r'"([A-Za-z_]\w*)"', open(name).read()))
for word in sorted(words):
    print(f'"{word}"')
