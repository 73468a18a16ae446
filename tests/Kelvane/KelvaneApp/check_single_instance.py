"""A second launch hands its files to the running application, between two real processes:
the files are queued (and converted) by the first, the second ends at once. A socket left
by a crashed instance is replaced, never obeyed; senders of garbage, of lengths past the
limit or of requests of the wrong shape are dropped and nothing is queued. "--recipe toPNG"
queues with that recipe and leaves the chosen one (toJPG) as it was; an unknown recipe ends
the launch with status 2 and queues nothing."""

import glob
import os
import socket
import struct
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from app_harness import app_environment, report, wait_for, write_picture  # noqa: E402


def send(path, message):
    """Sends raw bytes and returns what came back before the other end closed."""
    client = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    client.settimeout(5)
    client.connect(path)
    try:
        client.sendall(message)
        return client.recv(16)
    except (ConnectionResetError, BrokenPipeError):
        return b""
    finally:
        client.close()


def converted(picture):
    return picture[:-len(".png")] + " (converted).jpg"


def main(application):
    failures = []
    with tempfile.TemporaryDirectory() as temp:
        environment = app_environment(temp)
        path = os.path.join(environment["XDG_RUNTIME_DIR"], "kelvane.socket")

        # What a crashed instance leaves: a socket file nobody listens on.
        stale = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        stale.bind(path)
        stale.close()

        pictures = {name: os.path.join(temp, name + ".png")
                    for name in ("forwarded", "garbage", "shape", "huge")}
        for picture in pictures.values():
            write_picture(picture)

        first = subprocess.Popen([application], env=environment, stdout=subprocess.DEVNULL,
                                 stderr=subprocess.PIPE, text=True)
        try:
            def listening():
                try:
                    probe = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
                    probe.connect(path)
                    probe.close()
                    return True
                except OSError:
                    return False
            if not wait_for(listening, 30, 0.05):
                failures.append("the first instance never listened in place of the stale socket")
                return failures

            garbage = b"\x00\x00\x00\x10" + b"\xff\xfe{not json at all"
            wrong_shape = b'{"files": "%s"}' % pictures["shape"].encode()
            huge = b'{"files": ["%s"]}' % pictures["huge"].encode()
            for name, message in (("garbage", garbage),
                                  ("wrong shape", struct.pack(">I", len(wrong_shape)) + wrong_shape),
                                  ("huge", struct.pack(">I", 64 * 1024 * 1024) + huge)):
                if send(path, message) == b"ok":
                    failures.append(f"the {name} message was taken")

            bitmap, unknown = os.path.join(temp, "bitmap.bmp"), os.path.join(temp, "unknown.bmp")
            write_picture(bitmap)
            write_picture(unknown)
            refused = subprocess.run([application, "--recipe=toNothing", unknown], env=environment,
                                     capture_output=True, text=True, timeout=60)
            if refused.returncode != 2 or "toNothing" not in refused.stderr:
                failures.append(f"an unknown recipe ended with {refused.returncode}: {refused.stderr}")
            with_recipe = subprocess.run([application, "--recipe", "toPNG", "--quiet", bitmap],
                                         env=environment, capture_output=True, text=True, timeout=60)
            if with_recipe.returncode != 0:
                failures.append(f"--recipe toPNG ended with {with_recipe.returncode}")
            if not wait_for(lambda: glob.glob(os.path.join(temp, "bitmap*.png")), 60):
                failures.append("the file sent with --recipe toPNG was not made a PNG")

            # Sent after, with no recipe: converted with the chosen one, still toJPG.
            second = subprocess.run([application, pictures["forwarded"]], env=environment,
                                    capture_output=True, text=True, timeout=60)
            if second.returncode != 0:
                failures.append(f"the second launch ended with {second.returncode}: {second.stderr}")
            if not wait_for(lambda: os.path.exists(converted(pictures["forwarded"])), 60):
                failures.append("the forwarded file was not converted by the first instance")
            results = sorted(os.path.basename(name) for name in glob.glob(os.path.join(temp, "*")))
            if [name for name in results if name.startswith(("bitmap", "unknown"))] != \
                    ["bitmap (converted).png", "bitmap.bmp", "unknown.bmp"]:
                failures.append(f"--recipe jobs made {results}")
            for name in ("garbage", "shape", "huge"):
                if os.path.exists(converted(pictures[name])):
                    failures.append(f"a dropped message queued {name}.png")
            if first.poll() is not None:
                failures.append(f"the first instance ended: {first.stderr.read()}")
        finally:
            first.terminate()
            try:
                first.wait(30)
            except subprocess.TimeoutExpired:
                first.kill()
    return failures


if __name__ == "__main__":
    report(main(sys.argv[1]))
