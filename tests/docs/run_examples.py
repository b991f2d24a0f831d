#!/usr/bin/env python3
"""run_examples.py LIB INCLUDE CC CXX FLAGS DOC.md...: blocks tagged c (C11) or cpp build without
warnings, exit 0 and print exactly the text block after them; so do python blocks with TOVAK_PYTHON
set, and sh blocks with TOVAK_DOC_SHELL set (run in the project's root, TOVAK_CLI's directory first
in PATH; output block optional). Clusters of scripts/dbctl they leave are stopped."""
import difflib, itertools, os, pathlib, re, shutil, subprocess, sys, tempfile

library, include, cc, cxx, flags, *docs = sys.argv[1:]
root = pathlib.Path(__file__).resolve().parents[2]
work = pathlib.Path(tempfile.mkdtemp(prefix="tovak-docs.", dir="/tmp"))
# The examples use the databases directly: no remote server from the environment or a file.
env = {k: v for k, v in os.environ.items() if k not in (
    "KOVD_GRPC", "TOVAK_USER", "TOVAK_USER_KEY_FILE", "TOVAK_USER_KEY_PASSPHRASE")}
env["TOVAK_CONFIG"] = "/dev/null"
shell, python = os.environ.get("TOVAK_DOC_SHELL"), os.environ.get("TOVAK_PYTHON")
tags = {"c", "cpp"} | ({"python"} if python else set()) | ({"sh"} if shell else set())
numbers = itertools.count()


def check(tag, body, expected):
    """Builds and runs one example: "ok", or what went wrong."""
    source = work / f"{next(numbers)}.{tag}"
    source.write_text(body)
    run, cwd, run_env = [str(source.with_suffix(""))], None, env
    if tag in ("c", "cpp"):
        std = [cc, "-std=c11", "-pedantic"] if tag == "c" else [cxx, "-std=c++20"]
        build = subprocess.run([*std, "-Wall", "-Wextra", "-Werror", *flags.split(), f"-I{include}",
                                "-o", run[0], str(source), library,
                                f"-Wl,-rpath,{os.path.dirname(library)}"], capture_output=True, text=True)
        if build.returncode:
            return "does not build\n" + build.stderr
    elif tag == "python":
        run = [python, str(source)]
    else:
        run, cwd = [shell, "-eo", "pipefail", str(source)], root
        run_env = env | {"PATH": f"{os.path.dirname(os.environ['TOVAK_CLI'])}:{env['PATH']}",
                         "TMPDIR": str(work / "tmp")}
    out = subprocess.run(run, cwd=cwd, env=run_env, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    if out.returncode:
        return f"exit status {out.returncode}\n{out.stdout}{out.stderr}"
    if expected is not None and out.stdout != expected:
        return "output differs\n" + "".join(difflib.unified_diff(
            expected.splitlines(True), out.stdout.splitlines(True), "expected", "printed"))
    return "ok"


def examples(doc):
    """(where, tag, body, expected output or None) of each example, or (where, fault)."""
    text = pathlib.Path(doc).read_text()
    blocks = [(text.count("\n", 0, m.start()) + 1, m[1], m[2])
              for m in re.finditer(r"^```([\w+-]*)[ \t]*\n(.*?)^```[ \t]*$", text, re.M | re.S)
              if m[1] in tags or m[1] not in ("python", "sh")]
    for (line, tag, body), after in zip(blocks, blocks[1:] + [(0, "", "")]):
        expected = after[2] if after[1] == "text" else None
        if tag in tags and expected is None and tag != "sh":
            yield f"{doc}:{line}", "example without an output block"
        elif tag in tags:
            yield f"{doc}:{line}", tag, body, expected


try:
    (work / "tmp").mkdir()
    for path in (work, work / "tmp"):
        path.chmod(0o711)
    found = failed = 0
    for where, *example in (e for doc in docs for e in examples(doc)):
        result = example[0] if len(example) == 1 else check(*example)
        found, failed = found + 1, failed + (result != "ok")
        print(f"{where}: {result}")
    print(f"{found} examples, {failed} failed" if found else f"no examples found in: {docs}")
    sys.exit(1 if failed or not found else 0)
finally:
    for marker in work.rglob(".tovak-dbctl"):
        subprocess.run([root / "scripts/dbctl", "stop", marker.parent])
    shutil.rmtree(work)
