"""Load files as tests write and read them, apart from the program's own code for them."""

ADDRESS_BYTES = {"0": 2, "1": 2, "2": 3, "3": 4, "5": 2, "7": 4, "8": 3, "9": 2}  # by S-record type


def hex_line(kind, address, data=b""):
    body = bytes([len(data), address >> 8 & 0xFF, address & 0xFF, kind]) + data
    return ":" + (body + bytes([-sum(body) & 0xFF])).hex().upper() + "\n"


def ihex(*pieces, start=None, end=True):
    """Intel HEX of pieces (address, bytes); `start` is an execution start address."""
    text, high = "", 0
    for first, data in pieces:
        for at in range(0, len(data), 16):
            address = first + at
            if address >> 16 != high:
                high = address >> 16
                text += hex_line(4, 0, high.to_bytes(2, "big"))
            text += hex_line(0, address & 0xFFFF, data[at : at + 16])
    if start is not None:
        text += hex_line(5, 0, start.to_bytes(4, "big"))
    return (text + (hex_line(1, 0) if end else "")).encode()


def s_line(kind, address, data=b""):
    body = address.to_bytes(ADDRESS_BYTES[kind], "big") + data
    body = bytes([len(body) + 1]) + body
    return "S" + kind + (body + bytes([~sum(body) & 0xFF])).hex().upper() + "\n"


def s_data(first, data):
    """Data records of 16 bytes with 32-bit addresses."""
    return [s_line("3", first + at, data[at : at + 16]) for at in range(0, len(data), 16)]


def hex_content(text):
    """All data bytes of an Intel HEX file by address, and its start address."""
    content, high, start = {}, 0, None
    for line in text.decode().split():
        body = bytes.fromhex(line[1:])
        assert sum(body) & 0xFF == 0, line
        count, address, kind, data = body[0], body[1] << 8 | body[2], body[3], body[4:-1]
        assert count == len(data), line
        if kind == 0:
            content.update({high + address + i: value for i, value in enumerate(data)})
        elif kind == 2:
            high = int.from_bytes(data, "big") << 4
        elif kind == 4:
            high = int.from_bytes(data, "big") << 16
        elif kind == 5:
            start = int.from_bytes(data, "big")
    return content, start


def srec_content(text):
    """The same of S-records, with the header."""
    content, start, header = {}, None, None
    for line in text.decode().split():
        width = ADDRESS_BYTES[line[1]]
        body = bytes.fromhex(line[2:])
        assert (sum(body) & 0xFF) == 0xFF, line
        if line[1] == "5":
            continue
        address, data = int.from_bytes(body[1 : 1 + width], "big"), body[1 + width : -1]
        if line[1] == "0":
            header = data
        elif line[1] in "123":
            content.update({address + i: value for i, value in enumerate(data)})
        else:
            start = address
    return content, start, header
