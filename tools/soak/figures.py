"""Figures of a running process and of the local NDI runtime, from /proc and the runtime's folder."""

import os
import pathlib
import tempfile

# Of /proc/PID/smaps_rollup, in kB there. "Anonymous" is what the process alone made: heap, stacks, written mappings.
MEMORY = {"Rss": "rssMiB", "Pss": "pssMiB", "Anonymous": "anonymousMiB", "Pss_Shmem": "sharedMiB"}


def memory(rollup):
    """The figures in the text of a smaps_rollup file, in MiB."""
    found = {}
    for line in rollup.splitlines():
        name, _, rest = line.partition(":")
        if name in MEMORY:
            found[MEMORY[name]] = int(rest.split()[0]) / 1024
    return found


def shared_folder():
    """Where the local runtime keeps its records and the frames of senders."""
    base = pathlib.Path("/dev/shm")
    if not base.is_dir():
        base = pathlib.Path(tempfile.gettempdir())
    return base / f"ndi-local-{os.getuid()}"


def shared_mappings(maps):
    """How many of the mappings in the text of a maps file are of the runtime's frames, deleted ones included."""
    folder = f"{shared_folder()}/"
    return sum(folder in line for line in maps.splitlines())


def processor_seconds(pid):
    """User and system time of all threads so far."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def sample(pid):
    """All figures of a process now. Raises OSError when it is gone."""
    shared = shared_folder()
    return {
        **memory(pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text()),
        "handles": len(os.listdir(f"/proc/{pid}/fd")),
        "threads": len(os.listdir(f"/proc/{pid}/task")),
        "sharedMappings": shared_mappings(pathlib.Path(f"/proc/{pid}/maps").read_text()),
        "sharedFiles": len(os.listdir(shared)) if shared.is_dir() else 0,
        "processorSeconds": processor_seconds(pid),
    }
