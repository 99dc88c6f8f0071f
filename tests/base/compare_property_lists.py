#!/usr/bin/env python3
"""Compares the program's property lists with those of two others: Python's plistlib and GNUstep's plutil.

Generates documents from a fixed seed and takes each through every form and both directions:

  plistlib XML, plistlib binary                 -> ours
  ours as XML                                   -> plistlib (and byte for byte its own XML, but for reals)
  plistlib XML -> plutil XML, binary, GNUstep   -> ours
  plistlib binary -> plutil OpenStep            -> ours, where every number has become text
  ours as XML                                   -> plutil XML -> plistlib

plutil gets documents without what it cannot carry: in XML nothing beyond U+FFFF, no integer above the greatest signed
one, no real of more than 15 digits.
"""
import argparse
import datetime
import plistlib
import random
import struct
import subprocess
import sys

EPOCH = datetime.datetime(1970, 1, 1)
# Characters with a meaning somewhere: in XML, in the text form, in UTF-16, at the ends of UTF-8's lengths.
CHARACTERS = "abc XYZ019_$/:.-+@ \t\n<>&\"'\\;=(){},*[]]>!?#%\x7f\u0080\u00e9\u07ff\u0800\u20ac\u05d0\u2028\ufffd"
# What XML cannot hold, or not as it stands.
CONTROLS = "\0\x01\a\b\v\f\r\x1b\x1f"
ASTRAL = "\U00010000\U0001f600\U0010ffff"


class Generator:
    def __init__(self, seed, for_gnustep=False, for_xml=True):
        self.random = random.Random(seed)
        self.for_gnustep = for_gnustep
        self.alphabet = CHARACTERS if for_gnustep and for_xml else CHARACTERS + ASTRAL
        if not for_xml:
            self.alphabet += CONTROLS

    def text(self):
        r = self.random
        if r.random() < 0.3:
            # plutil takes "\U00e9" in XML for the character that it stands for in the text form.
            unit = "x" if self.for_gnustep else "\\U00e9"
            return r.choice([unit, "", "a", "true", "12", "-1.5", "/usr/bin/zpkctl", "a b", "&amp;", "<![CDATA[x]]>", "//x",
                             "/*x*/", "\\", "\"", "'", "U", "<*I5>", "é", "\n", " ", "\t"])
        return "".join(r.choice(self.alphabet) for _ in range(r.choice([1, 3, 14, 15, 16, 40, 300])))

    def integer(self):
        r = self.random
        top = 2**63 - 1 if self.for_gnustep else 2**64 - 1
        edges = [0, 1, -1, 127, 128, 255, 256, 32767, 65535, 65536, 2**31, 2**32 - 1, 2**32, 2**53, 2**63 - 1,
                 -128, -129, -2**31, -2**63, top]
        return r.choice(edges) if r.random() < 0.5 else r.randint(-2**63, top)

    def real(self):
        r = self.random
        if self.for_gnustep:
            return float("%.12g" % (r.choice([0.1, 1.5, -2.25, 3.0, 1e22, 1e-7]) * r.randint(1, 999)))
        if r.random() < 0.4:
            # No -0.0: plistlib's binary writer takes it for the 0.0 that it has written already.
            return r.choice([0.0, 1.0, 0.1, 0.1 + 0.2, 5e-324, 1.7976931348623157e308, float("inf"),
                             float("-inf"), float("nan"), 1e16, 1e22, 2.0**63, 2.0**64])
        return struct.unpack("d", struct.pack("Q", r.getrandbits(64)))[0]

    def date(self):
        r = self.random
        if self.for_gnustep or r.random() < 0.7:
            seconds = r.randint(0, 4102444800)
        else:
            seconds = r.randint(-62135596800, 253402300799)
        return EPOCH + datetime.timedelta(seconds=seconds)

    def data(self):
        return self.random.randbytes(self.random.choice([0, 1, 2, 3, 4, 15, 44, 57, 58, 200]))

    def value(self, depth=0):
        r = self.random
        leaves = [self.text, self.text, self.integer, self.real, self.date, self.data, lambda: r.random() < 0.5]
        if depth > 4 or r.random() < 0.5:
            return r.choice(leaves)()
        return self.container(depth)

    def container(self, depth=0):
        size = self.random.choice([0, 1, 2, 5, 16])
        if self.random.random() < 0.4:
            return [self.value(depth + 1) for _ in range(size)]
        return {self.text(): self.value(depth + 1) for _ in range(size)}


def plain(value, untyped=False):
    """The lines that property_list_filter writes for `value`."""
    if isinstance(value, bool):
        return plain("1" if value else "0") if untyped else ["true" if value else "false"]
    if isinstance(value, int):
        return plain(str(value)) if untyped else ["integer %d" % value]
    if isinstance(value, float):
        # Not-a-number has many bit patterns, of which texts keep one.
        return ["real %016x" % struct.unpack("Q", struct.pack("d", abs(value) if value != value else value))[0]]
    if isinstance(value, datetime.datetime):
        seconds = (value - EPOCH).total_seconds()
        return ["date %016x" % struct.unpack("Q", struct.pack("d", seconds))[0]]
    if isinstance(value, str):
        return ["text " + value.encode().hex()]
    if isinstance(value, bytes):
        return ["bytes " + value.hex()]
    if isinstance(value, list):
        return ["array %d" % len(value)] + [line for element in value for line in plain(element, untyped)]
    lines = ["dictionary %d" % len(value)]
    for key in sorted(value, key=lambda k: k.encode()):
        lines += ["key " + key.encode().hex()] + plain(value[key], untyped)
    return lines


def holds_real(value):
    if isinstance(value, (list, dict)):
        return any(holds_real(v) for v in (value.values() if isinstance(value, dict) else value))
    return isinstance(value, float)


def with_sorted_keys(value):
    """Sorted by bytes as ours are; Python's own order is by code point, which is the same for UTF-8."""
    if isinstance(value, list):
        return [with_sorted_keys(v) for v in value]
    if isinstance(value, dict):
        return {k: with_sorted_keys(value[k]) for k in sorted(value)}
    return value


class Comparison:
    def __init__(self, tool):
        self.tool = tool
        self.checks = 0
        self.failures = 0

    def run(self, command, data):
        done = subprocess.run(command, input=data, capture_output=True, timeout=60)
        if done.returncode != 0:
            raise RuntimeError("%s: exit status %d: %s" % (" ".join(command), done.returncode, done.stderr.decode()))
        return done.stdout

    def ours(self, data, form="plain"):
        output = self.run([self.tool, form], data)
        return output.decode().splitlines() if form == "plain" else output

    def plutil(self, form, data):
        return self.run(["plutil", "-convert", form, "-"], data)

    def check(self, what, got, wanted):
        self.checks += 1
        if got == wanted:
            return
        self.failures += 1
        if self.failures > 10:
            return
        print("%s differs:" % what)
        if isinstance(got, list):
            for i, (a, b) in enumerate(zip(got + [None] * len(wanted), wanted)):
                if a != b:
                    print("  line %d: got %.200r, wanted %.200r" % (i, a, b))
                    break
        else:
            print("  got    %.400r\n  wanted %.400r" % (got, wanted))

    def with_plistlib(self, name, document):
        wanted = plain(document)
        xml = plistlib.dumps(document)
        self.check(name + ": plistlib's XML", self.ours(xml), wanted)
        binary = plistlib.dumps(document, fmt=plistlib.FMT_BINARY)
        self.check(name + ": plistlib's binary", self.ours(binary), wanted)
        written = self.ours(binary, "xml")
        self.check(name + ": ours read by plistlib", plain(plistlib.loads(written)), wanted)
        if not holds_real(document):
            self.check(name + ": ours byte for byte", written, plistlib.dumps(with_sorted_keys(document)))

    def with_gnustep(self, name, document):
        wanted = plain(document)
        xml = plistlib.dumps(document)
        for form in ("xml1", "binary1", "gnustep"):
            self.check("%s: plutil's %s" % (name, form), self.ours(self.plutil(form, xml)), wanted)
        written = self.ours(xml, "xml")
        self.check(name + ": ours read by plutil", plain(plistlib.loads(self.plutil("xml1", written))), wanted)

    def with_openstep(self, name, document):
        binary = plistlib.dumps(document, fmt=plistlib.FMT_BINARY)
        got = self.ours(self.plutil("openstep", binary))
        self.check(name + ": plutil's openstep", got, plain(document, untyped=True))


def untyped_document(value):
    """Without reals and dates, whose text in the untyped form is plutil's own affair."""
    if isinstance(value, list):
        return [untyped_document(v) for v in value if not isinstance(v, (float, datetime.datetime))]
    if isinstance(value, dict):
        return {k: untyped_document(v) for k, v in value.items() if not isinstance(v, (float, datetime.datetime))}
    return value


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("--tool", required=True, help="property_list_filter")
    arguments.add_argument("--documents", type=int, default=90)
    options = arguments.parse_args()
    comparison = Comparison(options.tool)
    for seed in range(options.documents):
        comparison.with_plistlib("document %d" % seed, Generator(seed).container())
    for seed in range(options.documents // 3):
        comparison.with_gnustep("document %d" % seed, Generator(seed, for_gnustep=True).container())
        document = Generator(seed, for_gnustep=True, for_xml=False).container()
        comparison.with_openstep("document %d" % seed, untyped_document(document))
    print("%d comparisons, %d failed" % (comparison.checks, comparison.failures))
    return 1 if comparison.failures or not comparison.checks else 0


if __name__ == "__main__":
    sys.exit(main())
