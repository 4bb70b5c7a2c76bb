"""Loads the library into Python, opens a session, unloads the library with the session open, sees
the peer get end-of-file and the library gone, and does it all again."""

import _ctypes
import ctypes
import os
import socket
import sys


def is_loaded(path):
    with open("/proc/self/maps", encoding="ascii") as maps:
        return any(os.path.basename(os.path.realpath(path)) in line for line in maps)


def load_use_and_unload(path, listener):
    library = ctypes.CDLL(path)
    for name in ("viOpenDefaultRM", "viOpen"):
        getattr(library, name).restype = ctypes.c_long
    manager = ctypes.c_ulong()
    session = ctypes.c_ulong()
    assert library.viOpenDefaultRM(ctypes.byref(manager)) == 0
    resource = b"TCPIP::127.0.0.1::%d::SOCKET" % listener.getsockname()[1]
    status = library.viOpen(
        manager, resource, ctypes.c_ulong(0), ctypes.c_ulong(0), ctypes.byref(session)
    )
    assert status == 0, hex(status)
    peer, _ = listener.accept()
    peer.settimeout(10)
    assert is_loaded(path)
    _ctypes.dlclose(library._handle)
    assert peer.recv(1) == b""
    peer.close()
    assert not is_loaded(path), "the library is still loaded"


def main():
    with socket.create_server(("127.0.0.1", 0)) as listener:
        for _ in range(3):
            load_use_and_unload(sys.argv[1], listener)


main()
