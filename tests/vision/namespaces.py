"""Networks that have nothing but a loopback device: cameras are sought on every adapter, and no packet leaves the machine."""
import os
import socket
import subprocess
import sys

INSIDE = "NORVEL_VISION_TESTS_INSIDE"


def enter_own_network():
    """Goes on where there is only the loopback device: starts this program again there, and ends with its code."""
    if INSIDE in os.environ:
        if [name for _, name in socket.if_nameindex() if name != "lo"]:
            sys.exit("vision tests: there is a network device beside the loopback device")
        return
    namespaces = ["--net", "--pid", "--fork", "--kill-child", "--mount-proc"]
    if os.geteuid() != 0:
        namespaces.insert(0, "--map-root-user")
    prepare = "ip link set lo up && ip addr add 127.0.0.2/8 dev lo && "
    enter = ["unshare", *namespaces, "sh", "-c"]
    if subprocess.run([*enter, prepare + "true"]).returncode != 0:
        sys.exit("vision tests: a network namespace of its own is needed (unshare --net, as root or with "
                 "user namespaces allowed), and it cannot be had here")
    sys.exit(subprocess.run([*enter, prepare + INSIDE + '=1 exec "$@"', "sh", sys.executable, *sys.argv]).returncode)


def in_further_network(command):
    """The command that runs this one in a network of its own, inside of the one that is entered."""
    return ["unshare", "--net", "sh", "-c", 'ip link set lo up && exec "$@"', "sh", *command]
