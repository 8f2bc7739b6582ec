"""What the archive and the installer for Windows have in common."""
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]
JSON_LICENCE = pathlib.Path("/usr/share/doc/nlohmann-json3-dev/copyright")


def version():
    return re.search(r"project\(MVPPCSync VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text("utf-8")).group(1)


def read_me():
    text = (ROOT / "packaging" / "windows" / "README.txt").read_text("ascii").replace("@VERSION@", version())
    return text.replace("\n", "\r\n").encode("ascii")


def licence():
    """Of the JSON library, which mvtool contains."""
    return JSON_LICENCE.read_bytes().replace(b"\n", b"\r\n")
