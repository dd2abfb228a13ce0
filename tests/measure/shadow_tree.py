"""A copy of the project in which one source at a time is changed and built."""

import subprocess
from pathlib import Path

from mutation import Mutation

PROJECT = Path(__file__).resolve().parents[2]
PRESET = 'mingw-release'
PRECOMPILE = Path(__file__).with_name('precompile.cmake')


class BuildError(Exception):
    """The unchanged project does not build."""


class ShadowTree:
    """Belongs to one worker. What an interrupted run has left in its folder is put right by prepare()."""

    def __init__(self, folder: Path):
        self._folder = folder
        self._changed: str | None = None
        self._unchanged_plugin = b''
        self.programs = folder / 'build' / PRESET / 'bin'

    def prepare(self) -> None:
        """Copies the project's present state and builds what the mutations will change. The first time takes a minute."""
        names = subprocess.run(['git', 'ls-files', '--cached', '--others', '--exclude-standard', '-z'], cwd=PROJECT,
                               check=True, stdout=subprocess.PIPE, text=True).stdout.split('\0')
        for name in filter(None, names):
            if (PROJECT / name).is_file(): # it may have been deleted a moment ago
                _copy_when_different(PROJECT / name, self._folder / name)
        # Warnings are no reason to refuse a mutation.
        configured = subprocess.run(['cmake', '--preset', PRESET, '-DCMAKE_CXX_FLAGS=-w',
                                     f'-DCMAKE_PROJECT_INCLUDE={PRECOMPILE}'], cwd=self._folder,
                                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if configured.returncode != 0:
            raise BuildError(configured.stdout)
        for target in ('directsound_win64', 'unit_tests'):
            if not self.build(target):
                raise BuildError(f'{target} does not build in {self._folder}')
        self._unchanged_plugin = self._plugin()

    def apply(self, mutation: Mutation) -> None:
        """Changes a source. The one that was changed before becomes as it was."""
        if self._changed is not None and self._changed != mutation.file:
            self.restore()
        source = (PROJECT / mutation.file).read_text(encoding='utf-8')
        (self._folder / mutation.file).write_text(mutation.apply(source), encoding='utf-8')
        self._changed = mutation.file

    def restore(self) -> None:
        if self._changed is not None:
            _copy_when_different(PROJECT / self._changed, self._folder / self._changed)
            self._changed = None

    def build(self, target: str) -> bool:
        built = subprocess.run(['ninja', '-C', f'build/{PRESET}', target], cwd=self._folder,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return built.returncode == 0

    def require_unchanged(self, target: str) -> None:
        """Makes sure that a build that failed was the change's fault."""
        self.restore()
        if not self.build(target):
            raise BuildError(f'{target} does not build any more in {self._folder}, even unchanged')

    def same_plugin(self) -> bool:
        """Whether the compiler made the same DLL from the changed source."""
        return self._plugin() == self._unchanged_plugin

    def _plugin(self) -> bytes:
        return (self.programs / 'directsound_win64.dll').read_bytes()


def _copy_when_different(source: Path, destination: Path) -> None:
    wanted = source.read_bytes()
    if destination.is_file() and destination.read_bytes() == wanted:
        return # its time stamp stays, and with it what was built from it
    destination.parent.mkdir(parents=True, exist_ok=True)
    destination.write_bytes(wanted)
    destination.chmod(source.stat().st_mode)
