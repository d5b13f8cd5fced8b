"""A sandbox in which the real systemd is the first process, with the units of this build."""

import contextlib
import os
import pathlib
import subprocess
import tempfile
import time

from support import BUILD

# $1: directory with the installed files, $2: bash script.
#
# The file system of the machine is read-only. Only stubs of the targets of systemd exist, so that
# nothing of the machine starts. The sandbox has its own control group, like a container. It has no
# TMPDIR or TZ of the test, and messages are in English.
BOOT = r"""
set -e
unset TMPDIR TZ
export LC_ALL=C.UTF-8
mount --make-rprivate /
mount -t proc proc /proc
mount -t cgroup2 none /sys/fs/cgroup
mount --bind /proc/sys /proc/sys
mount -o remount,bind,ro /proc/sys
mount -t tmpfs -o mode=755 none /run
cp -R "$1" /run/stage
for place in /etc /usr; do
    mkdir -p "/run/changes$place" "/run/work$place"
    mount -t overlay none "$place" \
        -o "lowerdir=$place,upperdir=/run/changes$place,workdir=/run/work$place"
done
for place in /opt /srv /var/opt /var/lib /var/cache /root; do
    mount -t tmpfs -o mode=755 none "$place"
done
for place in /tmp /var/tmp; do mount -t tmpfs -o mode=1777 none "$place"; done
: >/run/console
mount --bind /run/console /dev/console
mount -o remount,bind,ro /
mount -t tmpfs -o mode=755 none /etc/systemd/system
cp -R /run/stage/usr/. /usr
ip link set lo up
systemd-sysusers clientcompliance.conf 2>/run/users
mkdir -p /run/systemd/system/service.d
for target in sysinit basic timers shutdown umount final local-fs local-fs-pre swap; do
    printf '[Unit]\nDescription=%s\n' "$target" >"/run/systemd/system/$target.target"
done
: >/run/journal
printf '[Service]\nStandardOutput=append:/run/journal\nStandardError=append:/run/journal\n' \
    >/run/systemd/system/service.d/journal.conf
{
    until systemctl is-active --quiet basic.target 2>/dev/null; do sleep 0.1; done
    export PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root
    status=0
    bash -e -c "$2" 2>&1 || status=$?
    echo "exit status of the script: $status"
    exec systemctl --force --force poweroff >/dev/null
} &
export SYSTEMD_UNIT_PATH=/run/systemd/system:/etc/systemd/system:/usr/local/lib/systemd/system
export container=other SYSTEMD_GENERATOR_PATH=/run/generators
exec /lib/systemd/systemd --system --unit=basic.target --log-target=console --show-status=no >&2
"""
NAMESPACES = ["unshare", "--mount", "--pid", "--ipc", "--uts", "--net", "--cgroup", "--fork",
              "--kill-child"]


def stage_components(directory, *components):
    """Installs the files of the components below the directory, as below a root."""
    for component in components:
        subprocess.run(["cmake", "--install", BUILD, "--component", component], check=True,
                       capture_output=True, env={**os.environ, "DESTDIR": str(directory)})


class ControlGroup:
    """Creates a control group. Kills its processes and removes its subtree at exit."""

    def __enter__(self):
        mounts = [line.split() for line in pathlib.Path("/proc/mounts").read_text().splitlines()]
        roots = [fields[1] for fields in mounts if fields[2] == "cgroup2"]
        if not roots:
            raise AssertionError("no control groups of version 2")
        (own,) = [line[3:] for line in pathlib.Path("/proc/self/cgroup").read_text().splitlines()
                  if line.startswith("0::")]
        self.path = tempfile.mkdtemp(prefix="systemd-test-", dir=roots[0] + own)
        return self

    def __exit__(self, *_):
        pathlib.Path(self.path, "cgroup.kill").write_text("1")
        for path, _, _ in os.walk(self.path, topdown=False):
            while True:
                with contextlib.suppress(FileNotFoundError):
                    if "populated 0" in pathlib.Path(path, "cgroup.events").read_text():
                        os.rmdir(path)
                        break
                time.sleep(0.1)

    def enter(self):
        pathlib.Path(self.path, "cgroup.procs").write_text(str(os.getpid()))


def run_under_systemd(stage, script, timeout=120):
    """Returns the output of a bash script, which must succeed, under a running systemd."""
    if os.geteuid() != 0:
        raise AssertionError("systemd needs root; run this test as root")
    with ControlGroup() as group:
        made = subprocess.run([*NAMESPACES, "sh", "-c", BOOT, "sh", stage, script],
                              stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              timeout=timeout, preexec_fn=group.enter)
    text, end, _ = made.stdout.rpartition("exit status of the script: 0\n")
    if not end:
        raise AssertionError(f"the script failed:\n{made.stdout}{made.stderr}")
    return text
