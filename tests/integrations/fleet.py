"""Hosts for the tests of Ansible: sandboxes with sshd, and directories of stored results."""

import os
import pathlib
import socket
import subprocess
import sys
import time

from results import finished, row, write

SANDBOX = ["unshare", "--mount", "--pid", "--uts", "--fork", "--kill-child", "--mount-proc",
           "--propagation", "private"]
# $1: name, $2: sshd_config, $3: compliance-query, $4: agent, $5: scenario or empty.
START = r"""
set -e
hostname "$1"
for place in /opt /var/opt /root /run /usr/local/bin; do mount -t tmpfs none "$place"; done
mkdir -p /run/sshd /run/etc/upper /run/etc/work
mount -t overlay none -o lowerdir=/etc,upperdir=/run/etc/upper,workdir=/run/etc/work /etc
# sshd refuses an account with a locked password.
echo 'root:*:19000:0:99999:7:::' >/etc/shadow
cp "$3" /usr/local/bin/compliance-query
if [ "$5" ]; then
    mkdir -p /opt/VeskaClient/bin
    cp "$4" /opt/VeskaClient/bin/VeskaClient
    /opt/VeskaClient/bin/VeskaClient "$5" >/opt/says &
fi
exec /usr/sbin/sshd -D -e -f "$2"
"""
SSHD = """
Port {port}
ListenAddress 127.0.0.1
HostKey {directory}/host_key
AuthorizedKeysFile {directory}/key.pub
PermitRootLogin prohibit-password
UsePAM no
StrictModes no
PidFile none
LogLevel QUIET
PrintLastLog no
Subsystem sftp internal-sftp
"""


def free_ports(count):
    sockets = [socket.create_server(("127.0.0.1", 0)) for _ in range(count)]
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


def wait_for(port):
    for _ in range(100):
        with socket.socket() as probe:
            if probe.connect_ex(("127.0.0.1", port)) == 0:
                return
        time.sleep(0.1)
    raise AssertionError(f"sshd does not listen on port {port}")


class Fleet:
    """A sandbox with its own sshd, host name and agent for each scenario; None has no agent."""

    def __init__(self, directory, scenarios):
        if os.geteuid() != 0:
            raise AssertionError("sshd and overlay mounts need root; run this test as root")
        self.directory = pathlib.Path(directory)
        self.processes = []
        for name in ("key", "host_key"):
            subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f",
                            self.directory / name], check=True)
        *ports, closed = free_ports(len(scenarios) + 1)
        self.ports = dict(zip(scenarios, ports))
        try:
            for name, scenario in scenarios.items():
                self._start(name, scenario)
            for port in ports:
                wait_for(port)
        except BaseException:
            self.stop()
            raise
        self._write_inventory({**self.ports, "gone": closed})

    def _start(self, name, scenario):
        config = self.directory / f"{name}.sshd"
        config.write_text(SSHD.format(port=self.ports[name], directory=self.directory))
        file = self.directory / f"{name}.scenario" if scenario else ""
        if scenario:
            file.write_text(scenario, encoding="utf-8")
        self.processes.append(subprocess.Popen(
            [*SANDBOX, "sh", "-c", START, "sh", name, config, os.environ["CC_QUERY"],
             os.environ["CC_AGENT"], file], stdin=subprocess.DEVNULL))

    def _write_inventory(self, ports):
        host_key = (self.directory / "host_key.pub").read_text().split()
        known = "".join(f"[127.0.0.1]:{port} {host_key[0]} {host_key[1]}\n"
                        for port in ports.values())
        (self.directory / "known_hosts").write_text(known)
        lines = [f"{name} ansible_port={port}" for name, port in ports.items()]
        (self.directory / "hosts").write_text("\n".join(lines) + f"""
[all:vars]
ansible_host=127.0.0.1
ansible_user=root
ansible_python_interpreter=/usr/bin/python3
ansible_ssh_private_key_file={self.directory}/key
ansible_ssh_common_args=-F none -o UserKnownHostsFile={self.directory}/known_hosts -o IdentitiesOnly=yes
""")

    def stop(self):
        for process in self.processes:
            process.kill()
            process.wait()


def write_stored_fleet(directory, hosts, nights=2, rows=100):
    """Writes stored results of many hosts, and an inventory with local connections."""
    directory = pathlib.Path(directory)
    names = [f"host{number:05}" for number in range(hosts)]
    for number, name in enumerate(names):
        for night in range(nights):
            bad = (number + night) % 7
            write(directory / name / f"night{night}.json",
                  finished([row("Not Compliant" if place < bad else "Compliant", f"rule {place}",
                                description="A rule of the baseline",
                                comment="as the agent found it") for place in range(rows)],
                           host=name, age=60 + 86400 * (nights - 1 - night)))
    (directory / "hosts").write_text("\n".join(names) + f"""
[all:vars]
ansible_connection=local
ansible_python_interpreter=/usr/bin/python3
fleet_path={directory}/{{{{ inventory_hostname }}}}
""")


if __name__ == "__main__":
    write_stored_fleet(sys.argv[1], int(sys.argv[2]))
