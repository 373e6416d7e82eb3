"""Puts the bytes of a file, inflated, together from what ocmd_show --json says of it, and writes
them to standard output. It knows the layout of records by itself."""
import json
import struct
import sys

shown = json.load(sys.stdin)
ORDER = {"little": "<", "big": ">"}[shown["byte_order"]]
TEXTS = [("name", 64), ("token", 32), ("help", 64), ("submode_help", 32), ("aux_text", 16),
         ("func_id", 48), ("mode_id", 24), ("aux_label", 48)]


def text(value, size=0):
    raw = bytes.fromhex(value["hex"]) if isinstance(value, dict) else value.encode()
    return raw.ljust(size, b"\0")


def raw(value, size):
    return bytes.fromhex(value).ljust(size, b"\0")


def bits(positions, size):
    return sum(1 << position for position in positions).to_bytes(size, "little")


def parameter(value):
    return (struct.pack(ORDER + "IQ", value["type_mask"], int(value["intf_mask"], 16)) +
            raw(value["opaque1"], 64) + struct.pack(ORDER + "ii", value["int_min"], value["int_max"]) +
            raw(value["opaque2"], 16))


def node(value):
    params = value["params"] + value.get("unused_params", [])
    children = value["children"] + value.get("unused_children", [])
    assert len(value["params"]) == value["param_count"]
    assert len(value["children"]) == value["child_count"]
    record = b"".join(text(value[name], size) for name, size in TEXTS)
    record += struct.pack(ORDER + "HHIII", value["optional"], value["cmi_msg_type"], value["flags"],
                          value["token_id"], value["command_id"])
    record += bits(value["perms_mask"], 16)
    record += b"".join(map(parameter, params)).ljust(200, b"\0")
    record += struct.pack(ORDER + "HHHH", value["aux_value1"], value["param_count"], value["aux_value2"],
                          value["child_count"])
    record += struct.pack(ORDER + "192H", *(children + [0] * (192 - len(children))))
    record += bits(value["child_link_bits"], 32)
    return record + struct.pack(ORDER + "Q", int(value["intf_mask"], 16)) + raw(value["reserved"], 8)


for entry in shown["records"]:
    nodes = b"".join(map(node, entry["nodes"]))
    if shown["container"] == "subtrees":
        path = text(entry["attach_path"]) + b"\0"
        sys.stdout.buffer.write(struct.pack(ORDER + "6I", entry["version"], entry["path_kind"], len(path),
                                            len(nodes), 0, 0) + path)
    sys.stdout.buffer.write(nodes)
