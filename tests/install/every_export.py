"""every_export.py BUILD LIBRARY OBJECTS HOST COMPILER...

Installs a build and tests it as hosts use it: what the library exports, that every export can be
linked at the levels at which that fails, and that the examples in the headers compile.
"""
import concurrent.futures
import pathlib
import re
import subprocess
import sys
import tempfile

# The example of a class comment as the body of a function; hosts have bundles.
EXAMPLE = '''#include "{header}"
#include "recast/sheaf/bundle.h"
{using}void example() {{
{code}
}}
'''
WRONG_ARRAY = """#include "recast/typed_arrays/mem_array_allocator.h"
auto array = Quilt::makeMemArray1D(Larder::makeStrong<Larder::Chunk<float>>(1U), nullptr);
"""


def run(*command):
    result = subprocess.run([str(word) for word in command], capture_output=True, text=True)
    return result.returncode, result.stdout + result.stderr


def output(*command):
    code, text = run(*command)
    if code != 0:
        sys.exit(f"{' '.join(map(str, command))}: {code}\n{text}")
    return text


def hidden_by_a_unit(objects):
    """The symbols that one unit exports and another hides: the linker hides them for all."""
    shown, hidden = set(), set()
    for line in output("readelf", "-sW", *objects).splitlines():
        words = line.split()
        if len(words) < 8 or words[4] not in ("GLOBAL", "WEAK", "UNIQUE") or words[6] == "UND":
            continue
        (shown if words[5] == "DEFAULT" else hidden).add(words[7])
    assert len(shown) > 1000, f"{len(objects)} objects define {len(shown)} symbols"
    return shown & hidden


def exports_that_are_internal(library):
    names = output("nm", "-DC", "--defined-only", library).splitlines()
    internal = re.compile(r" \w (?:[a-zA-Z ]+ for )?(?:Quilt::Storage::|H5|libdeflate)")
    return [name for name in names if internal.search(name)]


def exported_names(headers):
    """The classes, templates left out, and functions that headers declare as exported."""
    for header in headers:
        text = header.read_text()
        for template, name in re.findall(r"(template <.*>\n)? *(?:class|struct) RECAST_API (\w+)", text):
            if not template:
                yield name
        yield from re.findall(r"^ *RECAST_API (?:[^;{]*?[ >&*])?(\w+)\(", text, re.MULTILINE)


def examples(headers, include):
    """(header, source) for each indented block of a comment that is a piece of a program."""
    for header in headers:
        text = header.read_text()
        if "RECAST_API" not in text:
            continue
        for block in re.findall(r"(?:^/// {5,}.*\n)+", text, re.MULTILINE):
            code = re.sub(r"^///", "", block, flags=re.MULTILINE)
            if ";" not in code:
                continue
            name = header.relative_to(include)
            spaces = re.findall(r"^namespace (\w+)", text, re.MULTILINE)
            using = "".join(f"using namespace {space};\n" for space in spaces)
            yield name, EXAMPLE.format(header=name, using=using, code=code)


def main(build, library, objects, host, *compilers):
    failures = []
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        output("cmake", "--install", build, "--prefix", folder / "prefix")
        include = folder / "prefix/include"
        installed = next((folder / "prefix").glob("lib*/**/librecast.so"))
        headers = sorted(include.glob("recast/*/*.h"))

        names = sorted(hidden_by_a_unit(pathlib.Path(objects).read_text().split("\n")))
        failures += [f"hidden by a unit: {name}" for name in names]
        failures += [f"exported: {name}" for name in exports_that_are_internal(library)]
        text = pathlib.Path(host).read_text()
        failures += [f"not used by {host}: {name}" for name in sorted(set(exported_names(headers)))
                     if not re.search(rf"\b{name}\b", text)]

        def build_host(compiler, level):
            program = folder / f"host-{pathlib.Path(compiler).name}{level}"
            code, text = run(compiler, "-std=c++20", level, "-I", include, host, "-o", program,
                             installed, f"-Wl,-rpath,{installed.parent}")
            return run(program) if code == 0 else (code, text)

        def build_example(name, source):
            file = folder / f"{name.stem}-{abs(hash(source))}.cpp"
            file.write_text(source)
            return run(compilers[0], "-std=c++20", "-fsyntax-only", "-I", include, file)

        def build_wrong_array():
            file = folder / "wrong_array.cpp"
            file.write_text(WRONG_ARRAY)
            code, text = run(compilers[0], "-std=c++20", "-fsyntax-only", "-I", include, file)
            says = "makeMemArray1D exists for points and triangles" in text
            return int(code == 0 or not says), text

        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            jobs = {pool.submit(build_host, compiler, level): f"{compiler} {level}"
                    for compiler in compilers for level in ("-O0", "-O2")}
            jobs |= {pool.submit(build_example, *example): f"the example in {example[0]}"
                     for example in examples(headers, include)}
            jobs[pool.submit(build_wrong_array)] = "makeMemArray1D of floats"
        for job, what in jobs.items():
            code, text = job.result()
            if code != 0:
                failures.append(f"{what}: {code}\n{text[:4000]}")
    sys.exit("\n".join(failures) if failures else 0)


main(*sys.argv[1:])
