#!/usr/bin/env python3
"""Writes what the cipher tests compare with and no package holds, all of it computed by OpenSSL:

  ECBMCT128.rsp ...     the Monte Carlo tests of AESAVS for three modes and three key lengths, in the layout of
                        the published response files, from starting values of our own
  containers.txt        enciphered texts under the product's key, a line each: hexadecimal plaintext, container

Usage: cipher_vectors.py FOLDER KEY_SOURCE
"""
import ctypes
import ctypes.util
import hashlib
import pathlib
import re
import struct
import subprocess
import sys

LENGTH_IN_BITS = 0x2000  # EVP_CIPH_FLAG_LENGTH_BITS

crypto = ctypes.CDLL(ctypes.util.find_library("crypto"))
crypto.EVP_CIPHER_CTX_new.restype = ctypes.c_void_p
crypto.EVP_get_cipherbyname.restype = ctypes.c_void_p


class Cipher:
    """One message under way in libcrypto, without padding."""

    def __init__(self, mode, encrypt, key, iv):
        self.context = ctypes.c_void_p(crypto.EVP_CIPHER_CTX_new())
        kind = ctypes.c_void_p(crypto.EVP_get_cipherbyname(f"aes-{len(key) * 8}-{mode}".encode()))
        done = crypto.EVP_CipherInit_ex(self.context, kind, None, key, iv, int(encrypt))
        assert done == 1 and crypto.EVP_CIPHER_CTX_set_padding(self.context, 0) == 1
        self.bits = mode == "cfb1"
        if self.bits:
            crypto.EVP_CIPHER_CTX_set_flags(self.context, LENGTH_IN_BITS)
        self.output = ctypes.create_string_buffer(32)
        self.count = ctypes.c_int()

    def close(self):
        crypto.EVP_CIPHER_CTX_free(self.context)

    def update(self, data):
        """A block; in mode cfb1 one bit, given and returned as the integer 0 or 1."""
        data, length = (bytes([data << 7]), 1) if self.bits else (data, len(data))
        assert crypto.EVP_CipherUpdate(self.context, self.output, ctypes.byref(self.count), data, length) == 1
        return self.output.raw[0] >> 7 if self.bits else self.output.raw[: self.count.value]


def exclusive_or(left, right):
    return bytes(a ^ b for a, b in zip(left, right))


def bits_of(data):
    return [byte >> (7 - bit) & 1 for byte in data for bit in range(8)]


def bytes_of(bits):
    return bytes(sum(bit << (7 - place) for place, bit in enumerate(bits[at:at + 8])) for at in range(0, len(bits), 8))


def ecb_round(encrypt, key, iv, text):
    cipher = Cipher("ecb", encrypt, key, iv)
    results = [text]
    for _ in range(1000):
        results.append(cipher.update(results[-1]))
    cipher.close()
    return results[-1], (results[-2] + results[-1])[-len(key):], iv, results[-1]


def cbc_round(encrypt, key, iv, text):
    cipher = Cipher("cbc", encrypt, key, iv)
    results = [iv]
    for _ in range(1000):
        results.append(cipher.update(text))
        text = results[-2]
    cipher.close()
    return results[-1], (results[-2] + results[-1])[-len(key):], results[-1], results[-2]


def cfb1_round(encrypt, key, iv, text):
    cipher = Cipher("cfb1", encrypt, key, iv)
    results = bits_of(iv)
    for step in range(1000):
        results.append(cipher.update(text))
        text = results[step]
    cipher.close()
    return results[-1], bytes_of(results[-len(key) * 8:]), bytes_of(results[-128:]), results[-129]


def seed(what, length):
    return hashlib.sha256(what.encode()).digest()[:length]


def shown(value):
    return str(value) if isinstance(value, int) else value.hex()


def monte_carlo(mode, key_length, play_round):
    lines = []
    for section, given, wanted in (("ENCRYPT", "PLAINTEXT", "CIPHERTEXT"), ("DECRYPT", "CIPHERTEXT", "PLAINTEXT")):
        lines += [f"[{section}]", ""]
        name = f"{mode} {key_length} {section} "
        key, iv, text = seed(name + "key", key_length), seed(name + "iv", 16), seed(name + "text", 16)
        if mode == "CFB1":
            text = text[0] & 1
        for count in range(100):
            result, change, next_iv, next_text = play_round(section == "ENCRYPT", key, iv, text)
            lines += [f"COUNT = {count}", f"KEY = {key.hex()}"]
            lines += [] if mode == "ECB" else [f"IV = {iv.hex()}"]
            lines += [f"{given} = {shown(text)}", f"{wanted} = {shown(result)}", ""]
            key, iv, text = exclusive_or(key, change), next_iv, next_text
    return "\n".join(lines) + "\n"


def product_key(source):
    pieces = dict(re.findall(r"Piece(\d) = (0x[0-9A-Fa-f]+);", source.read_text()))
    return struct.pack("<4I", *(int(pieces[number], 16) for number in "0123"))


def container(key, plain):
    command = ["openssl", "enc", "-aes-128-cbc", "-K", key.hex(), "-iv", "0" * 32]
    return subprocess.run(command, input=plain, stdout=subprocess.PIPE, check=True).stdout.hex()


def containers(key):
    texts = [b"", b"{}", b'{"a":1}', b"fifteen letters", b"sixteen letters!", b"x" * 4096]
    texts += ['{"Größe":"ž 漢字 😀"}\n'.encode(), bytes(range(256)), b"ends as padding\x01", b"\x10" * 16]
    texts += [seed(str(length), 32)[:length] for length in range(1, 33)]
    return "".join(f"{plain.hex()} {container(key, plain)}\n" for plain in texts)


def main():
    folder, key_source = map(pathlib.Path, sys.argv[1:])
    folder.mkdir(parents=True, exist_ok=True)
    for mode, play_round in (("ECB", ecb_round), ("CBC", cbc_round), ("CFB1", cfb1_round)):
        for key_length in (16, 24, 32):
            text = monte_carlo(mode, key_length, play_round)
            (folder / f"{mode}MCT{key_length * 8}.rsp").write_text(text)
    (folder / "containers.txt").write_text(containers(product_key(key_source)))


main()
