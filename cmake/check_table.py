#!/usr/bin/env python3
"""Whether every operation of the table in host/CoreFileManager.h has all that belongs to it: its slot in the test of the
table, a body, a note of its failure, a command, a test, an exported symbol, and its place in the counts of the
documents. Prints what is missing and what to do about it; exit 1 when something is."""
import glob
import re
import sys

# Operations that cannot fail: questions whose answer is the result, and those that only store or give back.
CANNOT_FAIL = """FileExists FileIsDir FileIsSymLink FileGetEffectivePermissions FileIsHidden FindFirstRoot FindClose
GetLastError SetLastError DirGetTemp
OverrideWriteableAreaSecurity GetDownloadedStatus IsProtectedModeIE GetBrokerHandleWrapper RedirectedFilePath
FileSetExecutable GetNativePath""".split()
# Operations that no command offers, and why.
NO_COMMAND = {
    "FindNext": "a step of ls", "FindClose": "the end of ls", "SetLastError": "the program's own bookkeeping",
    "GetLastError": "every message has the code", "FileGetTempPath": "asked by an open for temporary files",
    "FileReopenStderr": "the shell's 2> does it", "DirEnsureEnclosingDir": "cp and mv do it",
    "GetBrokerHandleWrapper": "there is no broker here", "DirGetTemp": "dirs asks it by way of its table",
    "OverrideWriteableAreaSecurity": "nothing is confined here",
}

missing = []


def read(*patterns):
    return {path: open(path, encoding="utf8").read() for pattern in patterns for path in sorted(glob.glob(pattern, recursive=True))}


def without_comments(text):
    return re.sub(r"//.*", "", text)


def require(holds, what):
    if not holds:
        missing.append(what)


def check_header(header):
    """The operations in order. Every fifth entry is numbered."""
    operations = re.findall(r"^  (?:\[\[nodiscard\]\] )?virtual [^;=~]*?\b(\w+)\(", re.sub(r"//.*", "", header), re.M)
    entries = re.split(r"^  (?:\[\[nodiscard\]\] )?virtual ", header, flags=re.M)
    for number, before in enumerate(entries, start=1):
        marker = re.search(r"// Entry (\d+)\.\n", before.rsplit(";", 1)[-1])
        require(not marker or int(marker[1]) == number, f"host/CoreFileManager.h: entry {number} is marked as {marker and marker[1]}; declare a new operation behind the last one, as compiled hosts know the entries by their order")
    return operations


def check_slots(operations):
    text = read("tests/osx/TableTest.cpp")["tests/osx/TableTest.cpp"]
    slots = re.findall(r"\bM\((\w+)\)", text.split("#define F", 1)[1])
    for operation in operations:
        require(operation in slots, f"{operation}: add M({operation}) to the slots in tests/osx/TableTest.cpp")
    require(slots == operations or set(slots) != set(operations), "tests/osx/TableTest.cpp: the slots are not in the order of the table; put them in order")
    count = re.search(r"ASSERT_EQ\((\d+)u, std::size\(manager\)\)", text)
    require(count and int(count[1]) == len(operations), f"tests/osx/TableTest.cpp: the table has {len(operations)} operations beside the destructor; mend the count")


def bodies():
    """Class and operation, with the text of the body."""
    sources = read("platform/osx/*.cpp", "standalone/*.cpp", "standalone/bodies/CoreFileManager.cpp")
    found = {}
    for path, text in sources.items():
        for head in re.finditer(r"^[^\s#/}][^\n;]*?\b(OSXFileManager|StandaloneFileManager|CoreFileManager)::(\w+)\(", text, re.M):
            line_end = text.index("\n", head.end())
            end = line_end if text[:line_end].endswith("}") else text.index("\n}", head.end())
            found[head[1], head[2]] = (path, without_comments(text[head.start():end]))
    return found


def check_bodies(operations):
    found = bodies()
    for operation in operations:
        owners = [owner for owner, name in found if name == operation]
        require(owners, f"{operation}: give it a body in platform/osx/OSXFileManager….cpp, or in standalone/ when it is the host's business")
        require(owners != ["CoreFileManager"] or operation in CANNOT_FAIL, f"{operation}: override it in StandaloneFileManager with an Operation that answers what CoreFileManager's body does, so that LastFailure learns of its failures; or name it in CANNOT_FAIL of {sys.argv[0]}")
        for owner in set(owners) - {"CoreFileManager"}:
            path, body = found[owner, operation]
            notes = "*this, __func__" in body or f"OSXFileManager::{operation}(" in body.split("{", 1)[1]
            require(operation in CANNOT_FAIL or notes, f"{operation}: begin its body in {path} with an Operation, so that LastFailure learns of its failures")


def check_uses(operations):
    tools = without_comments("".join(read("tools/quillfs/*.cpp").values()))
    tests = without_comments("".join(text for path, text in read("tests/**/*.cpp").items() if not path.endswith("TableTest.cpp")))
    symbols = "".join(read("cmake/exported_symbols.txt").values())
    for operation in operations:
        require(operation in NO_COMMAND or re.search(rf"\b{operation}\b", tools), f"{operation}: add a command to tools/quillfs that calls it, or say in NO_COMMAND of {sys.argv[0]} why there is none")
        require(re.search(rf"\b{operation}\b", tests), f"{operation}: call it in a test below tests/")
        require(f"::{operation}(" in symbols, f"{operation}: write the exported symbols anew with cmake/check_packages.sh --update")


def check_counts(entries):
    for path, text in read("README.md", "CONTRIBUTING.md", "docs/*.md").items():
        for count in re.findall(r"\b(\d+) (?:operations|entries)\b", text):
            require(int(count) == entries, f"{path}: says {count} operations; the table has {entries} entries")


operations = check_header(read("host/CoreFileManager.h")["host/CoreFileManager.h"])
check_slots(operations)
check_bodies(operations)
check_uses(operations)
check_counts(len(operations) + 1)  # with the destructor
for line in missing:
    print(line)
print(f"Table: {len(operations) + 1} entries, {len(missing)} things missing.")
sys.exit(1 if missing else 0)
