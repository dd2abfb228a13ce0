"""What the help says: an example per command that really is one, every option in the README, and what is wrong with a
command line in a sentence."""

import pathlib
import re
import unittest

from program import ProgramTest, SCHEMA

README = (pathlib.Path(__file__).parents[3] / "soundcheck" / "README.md").read_text()
COMMANDS = SCHEMA["$defs"]["command"]["enum"]
WRONG = [
    ([], "A command is required."),
    (["sing"], "The following argument was not expected: sing."),
    (["record"], "file is required."),
    (["record", "x.wav", "--volume"], "The following argument was not expected: --volume."),
    (["record", "x.wav", "--seconds", "long"], '--seconds: "long" is not a number.'),
    (["record", "x.wav", "--seconds", "0"], "--seconds: 0 is not between 0.02 and 1000000."),
    (["record", "x.wav", "--seconds", "nan"], "--seconds: nan is not between 0.02 and 1000000."),
    (["soak", "--max-late", "-1"], "--max-late: -1 is not between 0 and 1000000000000."),
    (["churn", "--rounds", "-1"], "--rounds: -1 is not between 1 and 1000000000000."),
    (["churn", "--rounds", "1.5"], None),
    (["echo", "--max-spread", "-1"], "--max-spread: -1 is not between 0 and 1000000."),
    (["loop", "--seconds", "121"], "--seconds: 121 is not between 0.5 and 120."),
    (["watch", "--count", "0"], None),
    (["doctor", "--device-playback", "Speaker"], "--device-playback requires --device-capture."),
    (["list", "--log", "everything"], None),
]


class Help(ProgramTest):
    def help_of(self, command):
        ended = self.run_program(command, "--help")
        self.assertEqual((ended.code, ended.errors), (0, ""))
        return ended.output

    def test_every_command_ends_with_an_example_that_is_one(self):
        for command in COMMANDS:
            with self.subTest(command=command):
                lines = self.help_of(command).rstrip().splitlines()
                self.assertEqual(lines[-2], "Example:")
                self.assertTrue(lines[-1].startswith(f"  soundcheck {command}"), lines[-1])
                # Whatever the devices here are called: the command line is understood.
                words = [word.strip('"') for word in re.findall(r'"[^"]+"|\S+', lines[-1])][1:]
                words = [self.path(word) if re.search(r"\.\w+$", word) else word for word in words]
                ended = self.run_program(*words, words="unsupported initialize-fails")
                self.assertEqual(ended.code, 3, ended.errors)

    def test_readme_names_the_same_options_as_the_help(self):
        for command in COMMANDS:
            with self.subTest(command=command):
                rows = [line.split(" | ")[0] for line in README.splitlines()
                        if line.startswith(f"| `soundcheck {command}")]
                told = set(re.findall(r"--[a-z-]+", " ".join(rows)))
                shown = set(re.findall(r"(?m)^  (--[a-z-]+)", self.help_of(command)))
                self.assertEqual(told, shown)

    def test_wrong_command_lines_are_told_in_a_sentence(self):
        for arguments, sentence in WRONG:
            with self.subTest(arguments=arguments):
                ended = self.run_program(*arguments)
                self.assertEqual((ended.code, ended.output), (2, ""))
                first, second = ended.errors.splitlines()
                self.assertRegex(first, r"^soundcheck: .+\.$")
                if sentence:
                    self.assertEqual(first, "soundcheck: " + sentence)
                self.assertRegex(second, r"^`soundcheck (\w+ )?--help` tells what there is\.$")
                self.assertEqual(self.journal(), "")


if __name__ == "__main__":
    unittest.main()
