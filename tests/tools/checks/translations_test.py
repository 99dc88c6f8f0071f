#!/usr/bin/env python3
"""Holds tools/checks/translations to finding the faults that it is there for, in projects of one source file."""
import argparse
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
from xml.sax.saxutils import escape

CHECK = None


class Translations(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        (self.root / "tools/checks").mkdir(parents=True)
        shutil.copy(CHECK, self.root / "tools/checks/translations")
        (self.root / "src/interface/translations").mkdir(parents=True)
        subprocess.run(["git", "init", "-q", self.root], check=True)

    def check(self, source, translations):
        (self.root / "src/a.cpp").write_text(source)
        messages = "".join(f"<message><source>{escape(text)}</source><translation>{escape(translation)}</translation>"
                           "</message>" for text, translation in translations.items())
        (self.root / "src/interface/translations/zpk_xx.ts").write_text(
            f"<TS><context><name>main</name>{messages}</context></TS>")
        return subprocess.run([sys.executable, self.root / "tools/checks/translations"], capture_output=True,
                              text=True, check=False)

    def accepts(self, text, translation):
        answer = self.check(f'localizedText(l, "{text}");', {text: translation})
        self.assertEqual((answer.returncode, answer.stderr), (0, ""), answer.stdout)

    def refuses(self, text, translation, why):
        answer = self.check(f'localizedText(l, "{text}");', {text: translation})
        self.assertEqual((answer.returncode, answer.stderr), (1, ""), answer.stdout)
        self.assertIn(why, answer.stdout)

    def test_a_text_without_a_translation_and_a_translation_without_a_text_are_faults(self):
        answer = self.check('localizedText(l, "Shown");', {"Gone": "Weg"})
        self.assertEqual(answer.returncode, 1)
        self.assertIn("lacks 'Shown' (src/a.cpp:1)", answer.stdout)
        self.assertIn("nothing shows 'Gone'", answer.stdout)

    def test_placeholder_words_stay_in_the_translation(self):
        self.accepts("NEED of HAVE", "von HAVE NEED")
        self.refuses("NEED of HAVE", "von HAVE", "placeholder NEED")
        self.refuses("Every DAY", "Jeden Tag", "placeholder DAY")
        self.refuses("Every DAY", "DAY und DAY", "placeholder DAY")
        self.refuses("Every DAY", "Jeden DAYS", "placeholder DAY")

    def test_placeholders_of_several_words_are_taken_whole(self):
        self.accepts("SCHEDULE_DATE at SCHEDULE_TIME", "SCHEDULE_TIME, SCHEDULE_DATE")
        self.refuses("SCHEDULE_DATE at SCHEDULE_TIME", "Datum um SCHEDULE_TIME", "placeholder SCHEDULE_DATE")
        self.refuses("SCHEDULE_DATE at SCHEDULE_TIME", "SCHEDULE_DATE um SCHEDULE_TIMES", "placeholder SCHEDULE_TIME")
        self.refuses("SCHEDULE_DATE at SCHEDULE_TIME", "SCHEDULE und DATE um SCHEDULE_TIME",
                     "placeholder SCHEDULE_DATE")
        self.refuses("Every DAY", "Jeden DAY_X", "placeholder DAY")

    def test_a_word_of_another_script_may_lead_into_a_placeholder(self):
        self.accepts("SCHEDULE_DATE at SCHEDULE_TIME", "SCHEDULE_DATE \u05d1SCHEDULE_TIME")

    def test_key_marks_and_endings_are_as_in_english(self):
        self.accepts("&Open…", "Ö&ffnen…")
        self.refuses("&Open…", "Öffnen…", "key marks")
        self.refuses("&Open…", "Ö&ffnen", "does not end like")


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--check", required=True)
    options, rest = parser.parse_known_args()
    CHECK = options.check
    unittest.main(argv=["translations_test", *rest])
