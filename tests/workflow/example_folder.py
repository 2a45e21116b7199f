"""A folder of its own for a test of the workflow, and what all of them need."""
import importlib.util
import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]
EXAMPLES = TOP / 'examples'


def missing(*programs):
    """What is not there of the programs, or of the packages of the report."""
    absent = [name for name in programs if shutil.which(name) is None]
    return ' '.join(absent + [name for name in ('matplotlib', 'jinja2') if importlib.util.find_spec(name) is None])


def configuration(**changes):
    """The example with few iterations, and with other values for some keys; nothing where the value is None."""
    values = {'chromosomes': '["20"]', 'study': EXAMPLES / 'study.vcf.gz', 'panel': EXAMPLES / 'panel.vcf.gz',
              'map': EXAMPLES / 'map.txt', 'buffer_kb': 50, 'plan': '{max_kb: 250, min_typed: 20}',
              'phasing_options': '"-iter 4 -burnin 2"', 'retries': 0, **changes}
    return ''.join('%s: %s\n' % item for item in values.items() if item[1] is not None)


class ExampleFolder(unittest.TestCase):
    programs = None  # the folder of the programs; main() tells it

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def environment(self):
        path = '%s:%s:%s' % (ExampleFolder.programs, TOP / 'tools', os.environ['PATH'])
        return dict(os.environ, PATH=path, examples=str(EXAMPLES), XDG_CACHE_HOME=str(self.folder / 'cache'))

    def call(self, *command, status=0, folder=''):
        """What a command says on both channels."""
        done = subprocess.run([str(word) for word in command], cwd=self.folder / folder, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False, env=self.environment())
        self.assertEqual(done.returncode, status, done.stdout[-3000:])
        return done.stdout

    def snakemake_words(self, config, *options):
        (self.folder / 'config.yaml').write_text(config)
        return ['snakemake', '-s', str(TOP / 'workflow' / 'Snakefile'), '--configfile', 'config.yaml', '--cores', '2', *options]

    def snakemake(self, config, *options, status=0):
        return self.call(*self.snakemake_words(config, *options), status=status)


def main(arguments):
    ExampleFolder.programs = Path(arguments.pop(1)).resolve().parent
    unittest.main()
