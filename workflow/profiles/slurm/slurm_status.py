#!/usr/bin/env python3
"""Says of a Slurm job whether it is running, success or failed, for Snakemake 7.

A job that was killed, for its memory or its time or with its node, is failed; so is one that Slurm does not know any more
and whose end no accounting tells.
"""
import re
import subprocess
import sys
import time

WAITING = {'PENDING', 'CONFIGURING', 'RUNNING', 'COMPLETING', 'SUSPENDED', 'REQUEUED', 'RESIZING', 'STAGE_OUT', 'SIGNALING'}


def said(*command):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
    return done.stdout if done.returncode == 0 else ''


def state_of(job):
    """The state as the controller, or else the accounting, tells it; nothing when neither knows."""
    found = re.search(r'JobState=(\w+)', said('scontrol', '--oneliner', 'show', 'job', job))
    if found:
        return found[1]
    return said('sacct', '--noheader', '--allocations', '--parsable2', '--format=State', '--jobs', job).split(' ')[0].strip()


def main():
    job = sys.argv[1]
    state = ''
    for _ in range(5):  # a busy controller may not answer at once
        state = state_of(job)
        if state:
            break
        time.sleep(2)
    print('success' if state == 'COMPLETED' else 'running' if state in WAITING else 'failed')


if __name__ == '__main__':
    main()
