#!/usr/bin/env python3
"""Makes the signed fixtures: tiny PE files, certificates made on the spot, and copies that are broken
in one way each.

    make_signed.py FOLDER

FOLDER/list.txt states one fixture a line, "FILE<TAB>STATE<TAB>NAME": what a signer check has to answer,
with STATE one of ok, not-pe, not-signed, malformed, broken, no-name, and NAME the signer in UTF-8
(empty unless the signature is intact). FOLDER/*.pem are roots to trust. The certificates are valid
now, the expired one aside.
"""
import os
import shutil
import struct
import subprocess
import sys

EXPIRED_AT = 1600000000  # inside the expired certificate's validity


def run(*command):
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)}\n{done.stdout}{done.stderr}")


def read(path):
    with open(path, "rb") as file:
        return file.read()


def write(path, data):
    with open(path, "wb") as file:
        file.write(data)


def make_pe(bits, seed):
    """A program of one section that returns at once. `seed` tells one content from another."""
    wide = bits == 64
    directories = 16
    optional_size = (112 if wide else 96) + 8 * directories
    headers = 0x200
    code = b"\x31\xc0\xc3" + bytes([seed]) * 300
    raw = code.ljust(0x200, b"\0")
    dos = b"MZ".ljust(60, b"\0") + struct.pack("<I", 64)
    file_header = b"PE\0\0" + struct.pack("<HHIIIHH", 0x8664 if wide else 0x14C, 1, 0, 0, 0,
                                          optional_size, 0x22 if wide else 0x102)
    optional = struct.pack("<HBBIIIII", 0x20B if wide else 0x10B, 1, 0, len(raw), 0, 0, 0x1000, 0x1000)
    if wide:
        optional += struct.pack("<Q", 0x140000000)
    else:
        optional += struct.pack("<II", 0x2000, 0x400000)
    optional += struct.pack("<IIHHHHHHIIIIHH", 0x1000, 0x200, 6, 0, 0, 0, 6, 0, 0, 0x2000, headers, 0, 3, 0x100)
    optional += struct.pack("<QQQQ" if wide else "<IIII", 0x100000, 0x1000, 0x100000, 0x1000)
    optional += struct.pack("<II", 0, directories) + bytes(8 * directories)
    assert len(optional) == optional_size
    section = b".text\0\0\0" + struct.pack("<IIIIIIHHI", len(code), 0x1000, len(raw), headers, 0, 0, 0, 0, 0x60000020)
    return (dos + file_header + optional + section).ljust(headers, b"\0") + raw


class Signed:
    """The places in a signed file that the broken copies touch."""

    def __init__(self, data):
        self.data = data
        optional = struct.unpack_from("<I", data, 60)[0] + 24
        wide = struct.unpack_from("<H", data, optional)[0] == 0x20B
        self.entry = optional + (112 if wide else 96) + 32
        self.table, self.size = struct.unpack_from("<II", data, self.entry)

    def blob(self):
        length = struct.unpack_from("<I", self.data, self.table)[0]
        return self.data[self.table + 8:self.table + length]

    def with_table(self, table):
        head = bytearray(self.data[:self.table])
        struct.pack_into("<II", head, self.entry, self.table, len(table))
        return bytes(head) + table


def entry(blob, kind=2, revision=0x200):
    blob += bytes(-len(blob) % 8)
    return struct.pack("<IHH", 8 + len(blob), revision, kind) + blob


def flipped(data, at):
    return data[:at] + bytes([data[at] ^ 1]) + data[at + 1:]


def elements(content):
    """The DER elements of a content, whole."""
    found = []
    while content:
        size = content[1]
        head = 2
        if size >= 0x80:
            head += size - 0x80
            size = int.from_bytes(content[2:head], "big")
        found.append(content[:head + size])
        content = content[head + size:]
    return found


def inside(element):
    """The elements in an element."""
    return elements(element[2 + (element[1] - 0x80 if element[1] >= 0x80 else 0):])


def enclose(tag, parts):
    content = b"".join(parts)
    size = len(content)
    if size < 0x80:
        return bytes([tag, size]) + content
    digits = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 + len(digits)]) + digits + content


def with_certificates(blob, change):
    """A signature whose list of certificates, which nothing protects, is another."""
    kind, wrapped = inside(elements(blob)[0])
    version, algorithms, content, certificates, *rest = inside(inside(wrapped)[0])
    certificates = enclose(0xA0, change(inside(certificates)))
    body = enclose(0x30, [version, algorithms, content, certificates, *rest])
    return enclose(0x30, [kind, enclose(0xA0, [body])])


class Maker:
    def __init__(self, folder):
        self.folder = folder
        self.work = os.path.join(folder, "work")
        self.facts = []
        os.makedirs(self.work)

    def path(self, name):
        return os.path.join(self.work, name)

    def certificate(self, name, subject, issuer="root", usage="codeSigning", ec=False, mask="utf8only",
                    expired=False, authority=False):
        """A key and a certificate, NAME.key and NAME.pem. `subject` is a list of (field, value)."""
        fields = "\n".join(f"{i}.{key}={value}" for i, (key, value) in enumerate(subject))
        with open(self.path(name + ".cnf"), "w", encoding="utf-8") as file:
            file.write(f"[req]\nprompt=no\nutf8=yes\nstring_mask={mask}\ndistinguished_name=dn\n[dn]\n{fields}\n"
                       f"[ext]\nbasicConstraints=critical,CA:{'true' if authority else 'false'}\n"
                       f"keyUsage=critical,{'keyCertSign,cRLSign' if authority else 'digitalSignature'}\n")
            if usage:
                file.write(f"extendedKeyUsage={usage}\n")
            file.write("[ca]\ndefault_ca=own\n[own]\n"
                       f"database={self.path(name)}.db\nnew_certs_dir={self.work}\nserial={self.path(name)}.srl\n"
                       "default_md=sha256\npolicy=any\nunique_subject=no\npreserve=yes\n"
                       "[any]\ncommonName=optional\norganizationName=optional\norganizationalUnitName=optional\n")
        key = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256"] if ec else ["-newkey", "rsa:2048"]
        common = ["-config", self.path(name + ".cnf"), "-nodes", "-keyout", self.path(name + ".key"), "-sha256"]
        run("openssl", "req", "-new", *key, *common, "-out", self.path(name + ".csr"))
        if issuer is None or expired:
            # Roots are older than the stamps that they have to vouch for.
            by = (["-selfsign"] if issuer is None else ["-cert", self.path(issuer + ".pem")])
            signing_key = self.path((issuer or name) + ".key")
            validity = ("20200101000000Z", "20210101000000Z") if expired else ("20190101000000Z", "20491231235959Z")
            write(self.path(name + ".db"), b"")
            write(self.path(name + ".srl"), b"4242\n")
            run("openssl", "ca", "-batch", "-config", self.path(name + ".cnf"), "-in", self.path(name + ".csr"),
                *by, "-keyfile", signing_key, "-notext", "-startdate", validity[0], "-enddate", validity[1],
                "-extensions", "ext",
                "-out", self.path(name + ".pem"))
        else:
            run("openssl", "x509", "-req", "-in", self.path(name + ".csr"), "-CA", self.path(issuer + ".pem"),
                "-CAkey", self.path(issuer + ".key"), "-CAcreateserial", "-days", "3650", "-sha256",
                "-extfile", self.path(name + ".cnf"), "-extensions", "ext", "-out", self.path(name + ".pem"))

    def sign(self, source, certificate, target, *options, hash_name="sha256"):
        run("osslsigncode", "sign", "-certs", self.path(certificate + ".pem"), "-key", self.path(certificate + ".key"),
            "-h", hash_name, *options, "-in", source, "-out", target)
        return read(target)

    def add(self, name, state, signer, data=None):
        """States a fixture, and writes it when its bytes are given."""
        if data is not None:
            write(os.path.join(self.folder, name), data)
        assert os.path.exists(os.path.join(self.folder, name)), name
        self.facts.append(f"{name}\t{state}\t{signer}\n")

    def signed(self, name, signer, source, certificate, *options, hash_name="sha256"):
        target = os.path.join(self.folder, name)
        data = self.sign(self.path(source), certificate, target, *options, hash_name=hash_name)
        self.add(name, "ok", signer)
        return data


def make_certificates(m):
    m.certificate("root", [("CN", "Kolvessa Test Root")], issuer=None, usage=None, authority=True)
    m.certificate("other_root", [("CN", "Kolvessa Other Root")], issuer=None, usage=None, authority=True)
    m.certificate("middle", [("CN", "Kolvessa Test Middle")], usage=None, authority=True)
    m.certificate("cn", [("O", "Example Works"), ("OU", "Release"), ("CN", "Example Signer Ltd")])
    m.certificate("ou", [("O", "Example Works"), ("OU", "Build Desk")])
    m.certificate("o", [("O", "Example Works Only")])
    m.certificate("utf8", [("CN", "Übungsfirma Zürich 株式会社 𝔘𝔫𝔦")])
    m.certificate("bmp", [("CN", "Фирма Бета")], mask="MASK:0x800")
    m.certificate("t61", [("CN", "Société Générique")], mask="MASK:0x4")
    m.certificate("chain", [("CN", "Signer Below The Middle")], issuer="middle")
    m.certificate("ec", [("CN", "Curve Signer")], ec=True)
    m.certificate("web", [("CN", "Web Server Not Signer")], usage="serverAuth")
    m.certificate("any_use", [("CN", "Signer For Any Use")], usage=None)
    m.certificate("old", [("CN", "Signer Of Yesterday")], expired=True)
    m.certificate("alone", [("CN", "Signer Of Its Own")], issuer=None)
    m.certificate("country", [("C", "CH")])
    m.certificate("stamp", [("CN", "Kolvessa Test Stamps")], usage="critical,timeStamping")
    m.certificate("other_stamp", [("CN", "Kolvessa Other Stamps")], issuer="other_root",
                  usage="critical,timeStamping")


def make_intact(m):
    for bits in (64, 32):
        write(m.path(f"pe{bits}"), make_pe(bits, 0x41))
        write(m.path(f"pe{bits}b"), make_pe(bits, 0x42))
        m.add(f"unsigned{bits}.exe", "not-signed", "", make_pe(bits, 0x41))
    m.signed("cn.exe", "Example Signer Ltd", "pe64", "cn")
    m.signed("cn32.exe", "Example Signer Ltd", "pe32", "cn")
    for name in ("sha1", "sha384", "sha512"):
        m.signed(f"{name}.exe", "Example Signer Ltd", "pe64", "cn", hash_name=name)
    m.signed("page_hashes.exe", "Example Signer Ltd", "pe64", "cn", "-ph")
    m.signed("ou.exe", "Build Desk", "pe64", "ou")
    m.signed("o.exe", "Example Works Only", "pe64", "o")
    m.signed("utf8.exe", "Übungsfirma Zürich 株式会社 𝔘𝔫𝔦", "pe64", "utf8")
    m.signed("bmp.exe", "Фирма Бета", "pe64", "bmp")
    m.signed("t61.exe", "Société Générique", "pe64", "t61")
    m.signed("chain.exe", "Signer Below The Middle", "pe64", "chain", "-ac", m.path("middle.pem"))
    m.signed("chain_gap.exe", "Signer Below The Middle", "pe64", "chain")
    m.signed("ec.exe", "Curve Signer", "pe64", "ec")
    m.signed("web.exe", "Web Server Not Signer", "pe64", "web")
    m.signed("any_use.exe", "Signer For Any Use", "pe64", "any_use")
    m.signed("alone.exe", "Signer Of Its Own", "pe64", "alone")
    m.signed("expired.exe", "Signer Of Yesterday", "pe64", "old")
    for stamp in ("stamp", "other_stamp"):
        m.signed(f"expired_{stamp}.exe", "Signer Of Yesterday", "pe64", "old", "-TSA-certs", m.path(stamp + ".pem"),
                 "-TSA-key", m.path(stamp + ".key"), "-TSA-time", str(EXPIRED_AT))
    # Which certificate wants to be named is the first signature's affair alone.
    shutil.copy(os.path.join(m.folder, "cn.exe"), m.path("first"))
    m.signed("nested.exe", "Example Signer Ltd", "first", "ou", "-nest")
    m.sign(m.path("pe64"), "country", os.path.join(m.folder, "nameless.exe"))
    m.add("nameless.exe", "no-name", "")


def make_rearranged(m):
    """Tables that differ from what a signer writes and are still intact, and ones that aren't."""
    first = Signed(read(os.path.join(m.folder, "cn.exe")))
    second = Signed(read(os.path.join(m.folder, "ou.exe")))
    m.add("two_entries.exe", "ok", "Example Signer Ltd", first.with_table(entry(first.blob()) + entry(second.blob())))
    m.add("two_entries_swapped.exe", "ok", "Build Desk", first.with_table(entry(second.blob()) + entry(first.blob())))
    m.add("x509_entry_first.exe", "ok", "Example Signer Ltd",
          first.with_table(entry(b"not a signature", kind=1) + entry(first.blob())))
    m.add("no_signature_entry.exe", "not-signed", "", first.with_table(entry(b"not a signature", kind=1)))
    m.add("padded_entry.exe", "ok", "Example Signer Ltd", first.with_table(entry(first.blob() + bytes(64))))


def make_ambiguous(m):
    """The signer's certificate beside another of the same issuer, number and key, with another name."""
    good = Signed(read(os.path.join(m.folder, "cn.exe")))

    def signer(certificates):
        return next(c for c in certificates if b"Example Signer Ltd" in c)

    def namesake(certificates):
        return signer(certificates).replace(b"Example Signer Ltd", b"Another Signer Inc")

    def add(name, state, subject, change):
        m.add(name, state, subject, good.with_table(entry(with_certificates(good.blob(), change))))

    add("signer_again.exe", "ok", "Example Signer Ltd", lambda all: [*all, signer(all)])
    add("namesake_first.exe", "malformed", "", lambda all: [namesake(all), *all])
    add("namesake_last.exe", "malformed", "", lambda all: [*all, namesake(all)])


def make_broken(m):
    data = read(os.path.join(m.folder, "cn.exe"))
    good = Signed(data)
    blob = good.blob()
    signature_end = len(blob.rstrip(b"\0"))
    m.add("flipped_code.exe", "broken", "", flipped(data, 0x210))
    m.add("flipped_header.exe", "broken", "", flipped(data, 72))
    m.add("flipped_signature.exe", "broken", "", flipped(data, good.table + 8 + signature_end - 20))
    m.add("checksum_changed.exe", "ok", "Example Signer Ltd", flipped(data, 64 + 24 + 64))
    at = blob.index(bytes.fromhex("060a2b060104018237020104")) + 60
    m.add("flipped_content.exe", "broken", "", flipped(data, good.table + 8 + blob.index(b"\x04\x20", at) + 5))
    stated = blob.index(bytes.fromhex("06092a864886f70d010904")) + 20
    m.add("flipped_attribute.exe", "broken", "", flipped(data, good.table + 8 + stated))
    other = Signed(m.sign(m.path("pe64b"), "cn", m.path("other")))
    m.add("grafted.exe", "broken", "", good.with_table(entry(other.blob())))
    m.add("appended.exe", "broken", "", data + b"more behind the table...")
    m.add("truncated_file.exe", "not-signed", "", data[:-100])
    m.add("truncated_signature.exe", "malformed", "", good.with_table(entry(blob[:signature_end // 2])))
    m.add("not_a_signature.exe", "malformed", "", good.with_table(entry(b"\x30\x03\x02\x01\x05")))
    m.add("empty_table.exe", "not-signed", "", good.with_table(b""))
    m.add("text.exe", "not-pe", "", b"MZ, the text begins, and it is no program at all.\n" * 4)
    m.add("empty.exe", "not-pe", "", b"")


def main():
    folder = os.path.abspath(sys.argv[1])
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    m = Maker(folder)
    make_certificates(m)
    make_intact(m)
    make_rearranged(m)
    make_ambiguous(m)
    make_broken(m)
    for root in ("root", "other_root", "alone"):
        shutil.copy(m.path(root + ".pem"), os.path.join(folder, root + ".pem"))
    write(os.path.join(folder, "both_roots.pem"), read(m.path("root.pem")) + read(m.path("other_root.pem")))
    write(os.path.join(folder, "no_roots.pem"), b"no certificate in here\n")
    shutil.rmtree(m.work)
    with open(os.path.join(folder, "list.txt"), "w", encoding="utf-8", newline="\n") as file:
        file.writelines(m.facts)


if __name__ == "__main__":
    main()
