#!/usr/bin/env python3
"""Writes the configuration of a server of NATS that accepts one user, and the credentials of this user.

Usage: nats_credentials.py OPENSSL FOLDER

The server trusts an operator, the operator has signed an account, and the account has signed the user. The files are
FOLDER/server.conf, FOLDER/user.creds, and FOLDER/stranger.creds: credentials from an account that the server does not
know.
"""

import base64
import binascii
import json
import pathlib
import subprocess
import sys

KINDS = {"operator": 14 << 3, "account": 0, "user": 20 << 3}
SEED = 18 << 3
UNLIMITED = {
    name: -1
    for name in "subs data payload imports exports conn leaf mem_storage disk_storage streams consumer".split()
}


def encoded(prefix, key):
    """Returns a key as NATS writes it: prefix, key and checksum in base32."""
    content = bytes(prefix) + key
    return base64.b32encode(content + binascii.crc_hqx(content, 0).to_bytes(2, "little")).decode().rstrip("=")


def base64url(content):
    return base64.urlsafe_b64encode(content).decode().rstrip("=")


class Identity:
    """A pair of Ed25519 keys for an operator, an account or a user."""

    def __init__(self, openssl, folder, name, kind):
        self.openssl = openssl
        self.file = folder / f"{name}.pem"
        self.message = folder / f"{name}.message"
        self.name = name
        self.kind = kind
        self.run("genpkey", "-algorithm", "ed25519", "-out", self.file)
        self.public = encoded([KINDS[kind]], self.raw("-pubout"))

    def run(self, *arguments):
        return subprocess.run([self.openssl, *arguments], check=True, capture_output=True).stdout

    def raw(self, *options):
        """Returns a key without its frame of DER."""
        return self.run("pkey", "-in", self.file, "-outform", "DER", *options)[-32:]

    def seed(self):
        prefix = KINDS[self.kind]
        return encoded([SEED | prefix >> 5, (prefix & 31) << 3], self.raw())

    def sign(self, subject, properties):
        """Returns a signed token about another identity."""
        claims = {
            "jti": subject.public,
            "iat": 0,
            "iss": self.public,
            "name": subject.name,
            "sub": subject.public,
            "nats": {"type": subject.kind, "version": 2, **properties},
        }
        parts = [{"typ": "JWT", "alg": "ed25519-nkey"}, claims]
        text = ".".join(base64url(json.dumps(part).encode()) for part in parts)
        self.message.write_text(text)
        signature = self.run("pkeyutl", "-sign", "-rawin", "-inkey", self.file, "-in", self.message)
        return f"{text}.{base64url(signature)}"


def write_credentials(file, token, seed):
    file.write_text(
        f"-----BEGIN NATS USER JWT-----\n{token}\n------END NATS USER JWT------\n\n"
        f"-----BEGIN USER NKEY SEED-----\n{seed}\n------END USER NKEY SEED------\n"
    )


def main(openssl, folder):
    folder = pathlib.Path(folder)
    operator = Identity(openssl, folder, "operator", "operator")
    account = Identity(openssl, folder, "account", "account")
    system = Identity(openssl, folder, "system", "account")  # streams need one
    stranger = Identity(openssl, folder, "stranger", "account")
    user = Identity(openssl, folder, "user", "user")
    (folder / "server.conf").write_text(
        f"operator: {operator.sign(operator, {})}\n"
        "resolver: MEMORY\n"
        f"system_account: {system.public}\n"
        "resolver_preload {\n"
        f"  {account.public}: {operator.sign(account, {'limits': UNLIMITED})}\n"
        f"  {system.public}: {operator.sign(system, {})}\n"
        "}\n"
    )
    write_credentials(folder / "user.creds", account.sign(user, UNLIMITED), user.seed())
    write_credentials(folder / "stranger.creds", stranger.sign(user, UNLIMITED), user.seed())


if __name__ == "__main__":
    main(*sys.argv[1:])
