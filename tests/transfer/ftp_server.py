"""A plain FTP server on loopback for the FTP channel's tests and benchmark.

Usage: ftp_server.py USER PASSWORD FOLDER [trickle] [nosize]
One user with full rights in FOLDER. "trickle" sends and receives file data at 1000 bytes a
second, a line that moves but never ends; "nosize" refuses SIZE, so a client learns a file's size
only from the bytes. Prints the port it listens on (chosen by the system, so
parallel runs never collide), then serves until killed or until its standard input closes: a
test that dies without cleaning up takes its server with it.
"""
import logging
import os
import sys
import threading

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler, ThrottledDTPHandler
from pyftpdlib.servers import FTPServer


def exit_when_input_closes():
    while sys.stdin.buffer.read(4096):
        pass
    os._exit(0)


class SilentSizeHandler(FTPHandler):
    def ftp_SIZE(self, path):
        self.respond("502 Command not implemented.")


def main():
    user, password, folder = sys.argv[1:4]
    options = sys.argv[4:]
    logging.basicConfig(level=logging.ERROR)
    authorizer = DummyAuthorizer()
    authorizer.add_user(user, password, folder, perm="elradfmwMT")
    handler = SilentSizeHandler if "nosize" in options else FTPHandler
    handler.authorizer = authorizer
    if "trickle" in options:
        ThrottledDTPHandler.read_limit = 1000
        ThrottledDTPHandler.write_limit = 1000
        handler.dtp_handler = ThrottledDTPHandler
    # A refused login is answered at once; the usual delay only slows the tests down.
    handler.auth_failed_timeout = 0
    server = FTPServer(("127.0.0.1", 0), handler)
    print(server.socket.getsockname()[1], flush=True)
    threading.Thread(target=exit_when_input_closes, daemon=True).start()
    server.serve_forever(handle_exit=True)


if __name__ == "__main__":
    main()
