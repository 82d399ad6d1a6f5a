"""Runs a program without standard output, and prints its exit status, its seconds of processor time and its peak of resident memory in
bytes, as JSON: measured_run.py SECONDS ADDRESSES PROGRAM ARGUMENTS...

A process starts with the peak of the one that started it, so this one is small and does nothing else. After SECONDS the program is killed.
ADDRESSES bounds its address space in bytes, so that a fault in it does not take the whole machine; 0 does not.
"""
import json
import os
import resource
import signal
import sys

seconds, addresses, *command = sys.argv[1:]
if addresses != "0":
	resource.setrlimit(resource.RLIMIT_AS, (int(addresses),) * 2)
process = os.posix_spawn(command[0], command, os.environ, file_actions=[(os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0)])
signal.signal(signal.SIGALRM, lambda *_: os.kill(process, signal.SIGKILL))
signal.alarm(int(seconds))
_, status, usage = os.wait4(process, 0)
print(json.dumps([os.waitstatus_to_exitcode(status), usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024]))
