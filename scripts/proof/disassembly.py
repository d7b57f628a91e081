"""The functions of a built library, their instructions, and where control goes from them."""
import os
import re
import subprocess


def functions(library, *options):
    """Name, and instructions by their addresses. Local functions of two files may share a name."""
    text = subprocess.run(["objdump", "-d", "--no-show-raw-insn", *options, library], check=True, text=True,
                          stdout=subprocess.PIPE, env={**os.environ, "LC_ALL": "C"}).stdout
    for part in re.split(r"^[0-9a-f]+ <(?=.*>:$)", text, flags=re.M)[1:]:
        name, lines = part.split(">:\n", 1)
        yield name, {int(a, 16): code for a, code in re.findall(r"^ *([0-9a-f]+):\t(.*)$", lines, re.M)}


def target(code):
    """Of a call or a jump, conditional or not: address and name, what lies within a function by the function's."""
    match = re.match(r"(?:addr32 )?(?:call|j\w+) +([0-9a-f]+) <(.*?)(?:\+0x[0-9a-f]+)?>$", code)
    return (int(match[1], 16), match[2]) if match else (None, None)


def leadingTo(found, code):
    """The functions of `code` from which control gets to one of `found`, and these."""
    leads = {}
    for name, body in code:
        leads.setdefault(name, set()).update(target(line)[1] for line in body.values())
    found = set(found)
    while more := {name for name, targets in leads.items() if name not in found and targets & found}:
        found |= more
    return found


def unfenced(body):
    """Whether control gets from a streaming store out of the function without a fence."""
    addresses = sorted(body)
    following = dict(zip(addresses, addresses[1:]))
    ways = [following.get(a) for a in addresses if re.match("v?movnt(?!dqa)", body[a])]
    seen = set()
    while ways:
        address = ways.pop()
        if address in seen:
            continue
        seen.add(address)
        if address not in body or re.match(r"(?:rep |bnd )*ret|(?:bnd |notrack )*jmp +\*", body[address]):
            return True
        if body[address].startswith("sfence"):
            continue
        if body[address].startswith("j"):
            ways.append(target(body[address])[0])
        if not body[address].startswith("jmp"):
            ways.append(following.get(address))
    return False
