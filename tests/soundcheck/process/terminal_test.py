"""What a person sees: on a terminal progress in one line and a table that stays in its place, in a pipe plain lines."""

import re
import unittest

from program import ProgramTest
from terminal import run_on_terminal, Screen, text_of

CONTROL_CHARACTERS = r"[\x00-\x09\x0b-\x1f]"
HEADING = re.compile(r"^ +device +state +blocks +level dB +gap ms +late +bursts +echo +no echo$")
ROW = re.compile(r"^(playback|capture ) (.+?) +running +(\d+) +-\d+\.\d +\d+\.\d +\d+ +\d+ +(\d+|-) +(\d+|-)$")


class Terminal(ProgramTest):
    def see(self, *arguments, words="", **variables):
        """@return the exit code and all texts that were shown, one behind the other"""
        code, seen = run_on_terminal(self.command_line(*arguments), {**self.environment(words), **variables})
        return code, text_of(seen)

    def test_progress_is_shown_on_a_terminal(self):
        code, seen = self.see("record", self.path("x.wav"), "--seconds", "8")
        self.assertEqual(code, 0, seen)
        self.assertGreaterEqual(len(re.findall(r"\d\.\d / 8\.0 s", seen)), 2, seen)
        self.assertIn("summary command=record", seen)

    def test_no_progress_and_no_control_characters_in_a_pipe(self):
        ended = self.run_program("record", self.path("x.wav"), "--seconds", "8")
        self.assertEqual(ended.code, 0, ended.errors)
        self.assertNotRegex(ended.output, CONTROL_CHARACTERS)
        self.assertEqual(len(ended.output.splitlines()), 2, ended.output)
        self.assertTrue(ended.output.endswith("\n"))

    def test_no_progress_beside_a_document(self):
        code, seen = self.see("record", self.path("x.wav"), "--seconds", "8", "--json")
        self.assertEqual(code, 0, seen)
        self.assertNotRegex(seen, r"\d\.\d / 8\.0 s")

    def test_colour_only_where_it_is_welcome(self):
        red = re.compile(r"\x1b\[(?:[0-9;]*;)?(?:31|91)m")
        clipping = ("record", self.path("x.wav"), "--seconds", "8")
        code, seen = self.see(*clipping, words="loud")
        self.assertEqual(code, 0, seen)
        self.assertIn("CLIP", seen)
        self.assertRegex(seen, red)
        code, seen = self.see(*clipping, words="loud", NO_COLOR="1")
        self.assertIn("CLIP", seen)
        self.assertNotRegex(seen, red)

    def soak(self, columns=100, **variables):
        """@return what the screen showed from time to time"""
        command = self.command_line("soak", "--seconds", "3")
        code, seen = run_on_terminal(command, {**self.environment(), **variables}, columns)
        self.assertEqual(code, 0, text_of(seen))
        return list(Screen(columns).states(seen))

    def assert_one_table(self, lines, cut=None):
        """
        @param cut: characters of the names that are shown
        @return the blocks of the first device
        """
        self.assertRegex(lines[0], HEADING)
        self.assertEqual(sum(bool(HEADING.match(line)) for line in lines), 1, lines)
        rows = [ROW.match(line) for line in lines[1:5]]
        self.assertEqual([row and (row[1], row[2]) for row in rows],
                         [("playback", "Fake Speaker"[:cut]), ("playback", "Fake Headphones"[:cut]),
                          ("capture ", "Fake Microphone"[:cut]), ("capture ", "Fake Headset"[:cut])], lines)
        return int(rows[0][3])

    def test_table_of_soak_stays_in_its_place(self):
        states = self.soak()
        tables = [state for state in states if len(state.lines) >= 5 and state.row == 5]  # drawn to their end
        blocks = [self.assert_one_table(state.lines) for state in tables]
        self.assertEqual(blocks, sorted(blocks))
        self.assertGreaterEqual(len(set(blocks)), 3, blocks)
        last = states[-1].lines
        self.assertEqual(self.assert_one_table(last), blocks[-1])
        self.assertRegex(last[5], f"^summary command=soak device=\"Fake Speaker\" .* blocks={blocks[-1]} ")

    def test_table_of_soak_fits_a_usual_terminal_and_is_cut_by_a_narrow_one(self):
        self.assert_one_table(self.soak(columns=80)[-1].lines, cut=9)
        narrow = self.soak(columns=50)[-1].lines
        self.assertRegex(narrow[0], r"^ +device +state +blocks")
        self.assertTrue(all(narrow[row].startswith(("playback ", "capture  ")) for row in range(1, 5)), narrow)
        self.assertTrue(narrow[5].startswith("summary "), narrow)

    def test_table_of_soak_has_no_colours_where_they_are_not_welcome(self):
        last = self.soak(NO_COLOR="1")[-1]
        self.assert_one_table(last.lines)
        self.assertEqual(last.colours, {"default"})

    def test_table_of_soak_comes_once_in_a_pipe(self):
        ended = self.run_program("soak", "--seconds", "1")
        self.assertEqual(ended.code, 0, ended.errors)
        self.assertNotRegex(ended.output, CONTROL_CHARACTERS)
        lines = ended.output.splitlines()
        self.assert_one_table(lines)
        self.assertEqual([line.split()[0] for line in lines[5:]], ["summary"] * 4)


if __name__ == "__main__":
    unittest.main()
