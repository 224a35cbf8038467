"""Programs that the tests of the tools need themselves."""

import subprocess


def run(*command, **options):
    """The output of a command, which must succeed."""
    done = subprocess.run([str(part) for part in command], capture_output=True, text=True,
                          timeout=60, check=False, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}: {done.stdout}{done.stderr}")
    return done.stdout
