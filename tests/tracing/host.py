"""A host of the library that does what its standard input says, a command a line.
usage: host.py LIBRARY"""

import ctypes
import os
import resource
import sys

library = ctypes.CDLL(sys.argv[1])
library.QVSSLINIT_Init.restype = ctypes.c_void_p
library.QVSSLINIT_Uninit.argtypes = [ctypes.c_void_p]
library.QVSSLINIT_Uninit.restype = None


def cycle(times):
    """So many Inits, each with its Uninit."""
    for _ in range(int(times)):
        handle = library.QVSSLINIT_Init()
        assert handle
        library.QVSSLINIT_Uninit(handle)


def limit(size):
    """Files take no more than that; -1 for no limit."""
    resource.setrlimit(resource.RLIMIT_FSIZE, (int(size), resource.RLIM_INFINITY))


def fork(_):
    """A child that runs a cycle and exits."""
    child = os.fork()
    if child == 0:
        cycle(1)
        ctypes.CDLL(None).exit(0)
    assert os.waitpid(child, 0)[1] == 0


def set_variable(assignment):
    name, value = assignment.split("=", 1)
    os.environ[name] = value


COMMANDS = {"cycle": cycle, "limit": limit, "fork": fork, "set": set_variable}

for line in sys.stdin:
    command, _, argument = line.rstrip("\n").partition(" ")
    COMMANDS[command](argument)
    print("done", flush=True)
