#!/usr/bin/env python3
# Copies a TrueType font under a new family name, so the front end can ask for the suite's
# icon font by the family name QVDashboardIcons announces. Copyright and licence records stay.
# Usage: rename_font.py <source.ttf> <destination.ttf> <family>
import sys

from fontTools.ttLib import TTFont

source, destination, family = sys.argv[1:4]
font = TTFont(source)
names = font["name"]
for record in list(names.names):
    if record.nameID in (16, 17, 21, 22):
        names.removeNames(nameID=record.nameID)
for record in names.names:
    if record.nameID in (1, 4):
        record.string = family
    elif record.nameID == 6:
        record.string = family.replace(" ", "")
    elif record.nameID == 3:
        record.string = family + " (modified from " + record.toUnicode() + ")"
font.save(destination)
