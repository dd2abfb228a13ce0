"""`soundcheck watch` on the bench: what it tells when the default voice device changes, and when a sink comes and goes.

Wine keeps the list of devices that a process has seen first, so a sink that comes later is no event in a running one; a
process that begins later sees it. That the plug-in tells added and removed devices is proved on the simulator, and that
`watch` prints them by the tests against the fake plug-in.
"""

import datetime
import re
import threading
import time
import unittest

from soundcheck import PATIENCE, SoundcheckTest

LINE = re.compile(r"^(\d\d:\d\d:\d\d\.\d{3})  (playback|capture )  (\w+) +(\{[0-9A-F-]{36}\})  (.+)$")
HEADSET = {"playback": "Headset", "capture": "Monitor of Headset"}
SPEAKER = {"playback": "Speaker", "capture": "Monitor of Speaker"}
DIRECTIONS = ("playback", "capture")


class Watch(SoundcheckTest):
    def setUp(self):
        super().setUp()
        listed = self.document_of("list")["list"]
        self.ids = {(direction, device["name"]): device["id"] for direction in DIRECTIONS
                    for device in listed[direction]}

    def watching(self, *arguments):
        """A run that tells changes by now."""
        process = self.start_program("watch", *arguments)
        for line in process.stdout:
            if line.decode().strip() == "watching for changes":
                return process
        self.fail("it ended before it began: " + process.stderr.read().decode())

    def make_default(self, direction, name):
        self.set_default_voice_device(direction, self.ids[direction, name])

    def test_new_default_is_told_with_time_direction_and_name(self):
        process = self.watching("--count", "4", "--seconds", "60")
        begun = datetime.datetime.now() - datetime.timedelta(seconds=1)
        expected = []
        for names in (HEADSET, SPEAKER):
            for direction in DIRECTIONS:
                self.make_default(direction, names[direction])
                expected.append((direction, "default", self.ids[direction, names[direction]], names[direction]))
                time.sleep(2)  # the plug-in looks once a second
        output, errors = process.communicate(timeout=PATIENCE)
        self.assertEqual((process.returncode, errors.decode()), (0, ""))

        lines = [LINE.match(line) for line in output.decode().splitlines()]
        self.assertEqual([(match[2].strip(), *match.groups()[2:]) for match in lines], expected)
        times = [datetime.datetime.combine(begun.date(), datetime.time.fromisoformat(match[1])) for match in lines]
        if times[-1] > begun:  # else midnight has passed
            self.assertEqual(times, sorted(times))
            self.assertLess(begun, times[0])
            self.assertLess(times[-1], datetime.datetime.now())

    def test_document_holds_the_events(self):
        over = threading.Event()

        def change():  # from before it listens until it has heard enough
            while not over.is_set():
                for names in (HEADSET, SPEAKER):
                    self.make_default("playback", names["playback"])
                    over.wait(2.5)

        changing = threading.Thread(target=change)
        changing.start()
        try:
            document = self.document_of("watch", "--count", "3", "--seconds", "60")
        finally:
            over.set()
            changing.join()
        self.assertEqual((document["exit_code"], document["ended"]), (0, "complete"), document["findings"])
        events = document["watch"]["events"]
        self.assertEqual(len(events), 3)
        self.assertEqual([event["seconds"] for event in events], sorted(event["seconds"] for event in events))
        names = [event["name"] for event in events]
        self.assertEqual(names[0::2], [names[0]] * 2)
        self.assertEqual({names[0], names[1]}, {"Headset", "Speaker"})
        for event in events:
            self.assertEqual((event["direction"], event["kind"]), ("playback", "default"))
            self.assertEqual(event["id"], self.ids["playback", event["name"]])

    def test_seconds_end_it_and_fewer_changes_than_counted_on_are_a_failure(self):
        begun = time.monotonic()
        document = self.document_of("watch", "--seconds", "2", "--count", "1")
        self.assertGreater(time.monotonic() - begun, 2)
        self.assertEqual((document["exit_code"], document["watch"]["events"]), (1, []))
        self.assertIn("Only 0 of 1 change(s) came in time.", document["findings"])

    def test_sink_that_comes_and_goes_disturbs_nothing(self):
        process = self.watching("--seconds", "8")
        module = self.load_module("module-null-sink", "sink_name=guest", "rate=48000",
                                  "sink_properties='device.description=Guest'")
        time.sleep(2.5)
        listed = self.document_of("list")["list"]
        self.assertIn("Guest", [device["name"] for device in listed["playback"]])
        self.unload_module(module)
        output, errors = process.communicate(timeout=PATIENCE)
        self.assertEqual((process.returncode, errors.decode()), (0, ""))
        told = [LINE.match(line).groups()[2:] for line in output.decode().splitlines()]
        self.assertIn([(kind, name) for kind, _, name in told],
                      ([], [("added", "Guest"), ("added", "Monitor of Guest"), ("removed", "Guest"),
                            ("removed", "Monitor of Guest")]))


if __name__ == "__main__":
    unittest.main()
