import json
import tempfile
import unittest
from pathlib import Path

from find_mutations import find_mutations
from results import Results
from shadow_tree import PROJECT
from trial import Outcome, Verdict

SOURCE = 'plugin/devices/dsp_lock.cpp'


class Keeping(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.file = Path(folder.name) / 'results.jsonl'
        self.mutation = find_mutations(SOURCE, (PROJECT / SOURCE).read_text(encoding='utf-8'))[0]

    def keep(self, outcome: Outcome, by: str = '', **altered: str) -> Verdict | None:
        """What is found again of a verdict, after the file has been altered."""
        Results(self.file).add(self.mutation, Verdict(outcome, by, 1.0))
        entry = json.loads(self.file.read_text(encoding='utf-8').splitlines()[-1])
        self.file.write_text(json.dumps(entry | altered) + '\n', encoding='utf-8')
        return Results(self.file).find(self.mutation)

    def test_verdict_is_found_again(self):
        for outcome in Outcome:
            self.assertEqual(self.keep(outcome, 'A.b'), Verdict(outcome, 'A.b', 1.0))

    def test_changed_source_makes_every_verdict_void(self):
        for outcome in Outcome:
            self.assertIsNone(self.keep(outcome, source='another'))

    def test_changed_tests_make_void_what_rests_on_them(self):
        for outcome in (Outcome.NOTICED, Outcome.SURVIVED):
            self.assertIsNone(self.keep(outcome, tests='others'))

    def test_noticed_rests_on_the_file_of_its_test_alone(self):
        results = Results(self.file)
        known = results.proof(Outcome.NOTICED, 'BlockGeometry.Sizes_48kHzStereo_OneSecondBuffer')
        self.assertEqual(results.proof(Outcome.NOTICED, 'No.Such'), results.proof(Outcome.SURVIVED, ''))
        self.assertNotEqual(known, results.proof(Outcome.SURVIVED, ''))


if __name__ == '__main__':
    unittest.main()
