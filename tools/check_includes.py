#!/usr/bin/env python3
"""Holds the #include lines of src/ against the table of src/README.md, and keeps the operating system in platform/."""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SYSTEM = re.compile(r'#\s*include\s*<(windows\.h|unistd\.h|sys/|dlfcn\.h|fcntl\.h|pthread\.h|signal\.h|EGL/|X11/|Q[A-Z])')


def table():
    rows = {}
    for line in (ROOT / 'src/README.md').read_text().splitlines():
        match = re.match(r'\| `([\w/]+)` \| .* \| \[(.*)\] \|$', line)
        if match:
            rows[match[1]] = {name.strip() for name in match[2].split(',') if name.strip()}
    return rows


def room_of(path, rooms):
    """The deepest room that holds the path."""
    return max((room for room in rooms if path == room or path.startswith(room + '/')), key=len, default=None)


def main():
    rows = table()
    rooms = set(rows)
    allowed_targets = rooms | {'host/api'}
    faults = []
    files = subprocess.run(['git', 'ls-files', 'src'], cwd=ROOT, capture_output=True, text=True, check=True).stdout.split()
    for name in files:
        if not name.endswith(('.cpp', '.h')):
            continue
        inside = name.removeprefix('src/')
        room = room_of(inside, rooms)
        if room is None:
            faults.append(f'{name}: stands in no room of src/README.md')
            continue
        for number, line in enumerate((ROOT / name).read_text(errors='replace').splitlines(), 1):
            if room != 'platform' and SYSTEM.match(line):
                faults.append(f'{name}:{number}: operating system or Qt outside its seam: {line.strip()}')
            match = re.match(r'#\s*include\s*"([^"]+)"', line)
            if not match or '/' not in match[1]:
                continue
            target = room_of(match[1], allowed_targets)
            if target is None or target == room or (room == 'host' and target == 'host/api'):
                continue
            if target not in rows[room]:
                faults.append(f'{name}:{number}: {room} may not include {match[1]}')
    print('\n'.join(faults) if faults else f'{len(files)} files keep to the table of src/README.md')
    return 1 if faults else 0


if __name__ == '__main__':
    sys.exit(main())
