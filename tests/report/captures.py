"""Writes captures from the text of their messages."""

import subprocess

from hostile import varint

# Fields of the frame, in proto/tarnwick/capture/v1/capture.proto.
RPC_PHP = 10
RPC_GLIMMET = 13


def report(field, family, text):
    """Returns a frame, preceded by its length, with a report of the rpc dialect. `text` is that of its message."""
    message = subprocess.run(
        ["protoc", "--proto_path=proto", f"--encode=tarnwick.rpc.{family}.v1.NotifyRequest",
         f"tarnwick/rpc/{family}/v1/notify_request.proto"],
        input=text.encode(), check=True, stdout=subprocess.PIPE).stdout
    frame = varint(field << 3 | 2) + varint(len(message)) + message
    return varint(len(frame)) + frame


def php(request, text):
    return report(RPC_PHP, "php", f"request_id {{ id: {request} }} {text}")


def glimmet(request, text):
    return report(RPC_GLIMMET, "glimmet", f"request_id {{ id: {request} }} {text}")
