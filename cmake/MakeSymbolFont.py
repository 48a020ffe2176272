#!/usr/bin/python3
"""Makes the program's own font of symbols: the glyphs that Symbols.cpp names, out of the packaged Material Icons, under a
name of its own, so that an installed font of the same name never takes its place.

Usage: MakeSymbolFont.py MaterialIcons-Regular.ttf Symbols.cpp symbols.ttf"""

import re
import sys

from fontTools import subset
from fontTools.ttLib import TTFont

source, names, made = sys.argv[1:]
with open(names, encoding="utf-8") as text:
    wanted = {int(code, 16) for code in re.findall(r"sv, (0x[0-9a-f]{4})\}", text.read())}
font = TTFont(source)
missing = wanted - set(font.getBestCmap())
if missing:
    sys.exit(f"{source} has no glyphs for {sorted(map(hex, missing))}")
subsetter = subset.Subsetter(subset.Options(layout_features=[], name_IDs=["*"], notdef_outline=True))
subsetter.populate(unicodes=wanted)
subsetter.subset(font)
for record in font["name"].names:
    if record.nameID in (1, 4, 6, 16):
        record.string = "TarnSymbols" if record.nameID == 6 else "Tarn Symbols"
font["head"].modified = font["head"].created  # the same input makes the same file
font.recalcTimestamp = False
font.save(made)
