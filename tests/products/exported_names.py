"""The lists of what the products export: they stand in tests/products/exports, a demangled name a line, sorted."""

import os
import subprocess


def run(*command, env=None):
    return subprocess.run(command, capture_output=True, text=True, check=False, env=env)


def output_of(*command):
    done = run(*command)
    if done.returncode != 0:
        raise RuntimeError(f"{command[0]}: {done.stderr}")
    return done.stdout


def list_path(source, name):
    return os.path.join(source, "tests", "products", "exports", name + ".txt")


def read_list(path):
    with open(path, encoding="utf-8") as file:
        return file.read().splitlines()


def write_list(path, names):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.writelines(name + "\n" for name in names)
    print(f"wrote {path}")
