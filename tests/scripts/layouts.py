"""Holds the structures of an example against the stored list of the C interface.

    layouts.py ABI_LIST EXAMPLE

Python declarations are asked for their offsets; those of C# and Rust are laid out here by the
rules of both, which are those of C. Prints what differs and ends with 1 then.
"""
import ctypes
import importlib.util
import pathlib
import re
import sys

# C# has no arrays of structures in structures: a structure of as many members stands for one.
SIMPLE = {
    "uint": 4, "u32": 4, "long": 8, "i64": 8, "ulong": 8, "u64": 8, "IntPtr": 8, "byte": 1, "u8": 1,
}


def stored(path):
    """{structure: (size, {member: (offset, size)})}"""
    structures = {}
    for line in pathlib.Path(path).read_text().splitlines():
        words = line.split()
        if words[0] == "struct":
            members = {}
            structures[words[1]] = (int(words[2]), members)
        elif words[0].isdigit():
            members[words[3]] = (int(words[0]), int(words[1]))
    return structures


def of_python(path):
    spec = importlib.util.spec_from_file_location("example", path)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    structures = {}
    for name, value in vars(module).items():
        if isinstance(value, type) and issubclass(value, ctypes.Structure):
            members = {field: (getattr(value, field).offset, getattr(value, field).size)
                       for field, _ in value._fields_}
            structures[name] = (ctypes.sizeof(value), members)
    return structures


def lay_out(declarations):
    """From [(structure, [(member, type, count)])] in the order of their use."""
    structures, sizes, alignments = {}, dict(SIMPLE), dict(SIMPLE)
    for name, fields in declarations:
        members, offset, alignment = {}, 0, 1
        for field, kind, count in fields:
            offset = (offset + alignments[kind] - 1) // alignments[kind] * alignments[kind]
            members[field] = (offset, sizes[kind] * count)
            offset += sizes[kind] * count
            alignment = max(alignment, alignments[kind])
        size = (offset + alignment - 1) // alignment * alignment
        structures[name], sizes[name], alignments[name] = (size, members), size, alignment
    return structures


def of_csharp(path):
    text = re.sub(r"//.*", "", pathlib.Path(path).read_text())
    declarations = []
    for name, body in re.findall(r"struct (Zorvane\w+)\s*\{(.*?)\}", text, re.S):
        fields = re.findall(r"public (?:fixed )?(\w+) (\w+)(?:\[(\d+)\])?;", body)
        declarations.append((name, [(field, kind, int(count or 1)) for kind, field, count in fields]))
    return lay_out(declarations)


def of_rust(path):
    text = re.sub(r"//.*", "", pathlib.Path(path).read_text())
    declarations = []
    for name, body in re.findall(r"#\[repr\(C\)\]\s*struct (Zorvane\w+)\s*\{(.*?)\}", text, re.S):
        fields = []
        for field, kind in re.findall(r"(?:r#)?(\w+):\s*(\[[^\]]*\]|\*const \w+|\w+)", body):
            array = re.match(r"\[(\w+);\s*(\d+)\]", kind)
            if array:
                fields.append((field, array[1], int(array[2])))
            else:
                fields.append((field, "IntPtr" if kind.startswith("*") else kind, 1))
        declarations.append((name, fields))
    return lay_out(declarations)


def main():
    expected = stored(sys.argv[1])
    reader = {".py": of_python, ".cs": of_csharp, ".rs": of_rust}
    example = pathlib.Path(sys.argv[2])
    actual = reader[example.suffix](example)
    differs = False
    for name, structure in expected.items():
        if actual.get(name) != structure:
            print(f"{example.name}: {name} is {actual.get(name)}, expected {structure}",
                  file=sys.stderr)
            differs = True
    sys.exit(1 if differs or not expected else 0)


if __name__ == "__main__":
    main()
