"""Every command with --json, well and failing: one document and nothing else, and it keeps the schema.

A new command adds its runs to RUNS, and its section to docs/soundcheck.schema.json.
"""

import json
import unittest

import jsonschema

from program import ProgramTest, SCHEMA

# Exit code, words for the fake plug-in, how it ended, the command line. {} stands for the test's folder.
RUNS = [
    (0, "", "complete", ["info"]),
    (3, "unsupported", "failed", ["info"]),
    (0, "", "complete", ["list"]),
    (77, "no-devices", "failed", ["list"]),
    (0, "", "complete", ["list", "--formats"]),
    (1, "capture-open-fails", "complete", ["list", "--formats"]),
    (0, "latecomer", "complete", ["watch", "--count", "5", "--seconds", "20"]),
    (0, "no-devices", "complete", ["watch", "--seconds", "0.1"]),
    (1, "", "complete", ["watch", "--seconds", "0.1", "--count", "1"]),
    (3, "initialize-fails", "failed", ["list"]),
    (0, "", "complete", ["play", "{}speech.wav"]),
    (1, "log-error", "complete", ["play", "{}speech.wav"]),
    (4, "", "failed", ["play", "{}missing.wav"]),
    (5, "", "failed", ["play", "{}speech.wav", "--device", "gramophone"]),
    (3, "open-fails", "failed", ["play", "{}speech.wav"]),
    (0, "", "complete", ["record", "{}x.wav", "--seconds", "0.2"]),
    (77, "no-devices", "failed", ["record", "{}x.wav"]),
    (1, "freeze-once", "complete", ["record", "{}x.wav", "--seconds", "0.5", "--reopen"]),
    (1, "freeze", "gave-up", ["record", "{}x.wav"]),
    (0, "", "complete", ["talk", "{}speech.wav", "--echo-to", "{}e.wav", "--record-to", "{}m.wav"]),
    (1, "no-reference", "complete", ["talk", "{}speech.wav", "--echo-to", "{}e.wav", "--record-to", "{}m.wav"]),
    (2, "", "failed", ["talk", "{}speech.wav"]),
    (0, "echo", "complete", ["echo", "--seconds", "2"]),
    (1, "no-reference", "complete", ["echo", "--seconds", "1"]),
    (0, "", "complete", ["churn", "--rounds", "30"]),
    (1, "flaky-open", "complete", ["churn", "--rounds", "80", "--seed", "5"]),
    (0, "late-event", "complete", ["churn", "--rounds", "80", "--seed", "5"]),
    (1, "late-events", "complete", ["churn", "--rounds", "80", "--seed", "5"]),
    (0, "", "complete", ["soak", "--seconds", "1.2"]),
    (1, "capture-open-fails slow", "complete", ["soak", "--seconds", "1.3"]),
    (77, "no-devices", "failed", ["soak"]),
    (0, "loopback", "complete", ["loop", "--seconds", "0.5"]),
    (1, "loopback loopback-add", "complete", ["loop", "--seconds", "1", "--keep", "{}missing\\x.wav"]),
    (1, "loopback loopback-swap", "complete", ["loop", "--seconds", "0.5", "--keep", "Z:\\dev\\full"]),
    (1, "", "complete", ["loop", "--seconds", "0.5"]),
    (1, "freeze", "gave-up", ["loop"]),
    (77, "no-devices", "failed", ["loop"]),
    (0, "", "complete", ["loop", "--selftest"]),
    (0, "", "complete", ["doctor"]),
    (1, "capture-open-fails", "complete", ["doctor"]),
    (3, "unsupported", "complete", ["doctor"]),
    (77, "no-devices", "failed", ["doctor"]),
    (2, "", "failed", ["sing"]),
    (2, "", "failed", ["list", "--volume", "11"]),
]


class Documents(ProgramTest):
    def test_schema_is_one(self):
        jsonschema.Draft202012Validator.check_schema(SCHEMA)

    def document_of(self, arguments, words=""):
        ended = self.run_program("--json", *(argument.replace("{}", self.path("") + "\\") for argument in arguments),
                                 words=words)
        document = json.loads(ended.output)
        self.validator().validate(document)
        self.assertEqual(document["exit_code"], ended.code)
        return document, ended

    def test_every_end_of_every_command_keeps_the_schema(self):
        for code, words, end, arguments in RUNS:
            with self.subTest(arguments=arguments, words=words):
                document, ended = self.document_of(arguments, words)
                self.assertEqual((ended.code, document["ended"]), (code, end), ended.errors)
                self.assertEqual(bool(document["findings"]), code != 0)
                for finding in document["findings"]:
                    self.assertIn(finding, ended.errors)
                if end == "complete":
                    self.assertIn(arguments[0], document)
                    self.assertEqual(document["command"], arguments[0])

    def test_every_command_is_run_here(self):
        listed = self.run_program("--help").output.split("Subcommands:\n")[1].split("\n\n")[0]
        commands = {line.split()[0] for line in listed.splitlines() if line[:3].strip()}
        self.assertEqual(commands, set(SCHEMA["$defs"]["command"]["enum"]))
        self.assertLessEqual(commands, {arguments[0] for code, _, _, arguments in RUNS if code == 0})

    def test_hanging_call_still_tells_what_the_plugin_said(self):
        document, ended = self.document_of(["play", "{}speech.wav"], "log-error close-hangs")
        self.assertEqual((ended.code, document["ended"]), (3, "hung"))
        self.assertEqual([line["text"] for line in document["log"]["lines"]], ["something broke"])
        self.assertIn("does not come to an end", document["findings"][-1])

    def test_schema_objects_to_what_it_does_not_know(self):
        document, _ = self.document_of(["list"])
        for spoil in (lambda d: d.update(surprise=1), lambda d: d["list"].pop("capture"),
                      lambda d: d["list"]["playback"][0].update(id=5), lambda d: d.update(ended="somehow")):
            spoilt = json.loads(json.dumps(document))
            spoil(spoilt)
            with self.assertRaises(jsonschema.ValidationError):
                self.validator().validate(spoilt)


if __name__ == "__main__":
    unittest.main()
