#!/usr/bin/env python3
"""Writes the frozen cache folders beside this script, from docs/cache-format.md alone.

The folders are part of the tests: caches as older or interrupted programs left them. They stay as they are;
run this only to add one. Thumbnails are texts that say whose they are.
"""
import pathlib
import struct

UNKNOWN, PICTURE, AUDIO, VIDEO = 0, 1, 2, 3
TIME = 133590312000000000  # 2024-05-01 10:00:00 UTC
TRAILER = struct.pack("<3I", 0, 1, 0)
NOTHING = (-1, -1, -1, -1, -1, -1)


def text(value):
    return struct.pack("<i", len(value)) + value.encode("utf-16-le")


def folder_record(path, number, version=1):
    return (struct.pack("<I", version) + text(path) + text(f"{number}.db") + text(f"{number}.dat")
            + struct.pack("<i", number))


def file_record(path, kind, data_file, locations, version=2, deleted=0, embedded=0, width=3000, height=2000):
    large, large_size, small, small_size, extra, extra_size = locations
    record = struct.pack("<I", version) + text(path) + struct.pack("<I", kind) + text(data_file)
    record += struct.pack("<QI4i", TIME, 123456, large, large_size, small, small_size)
    record += struct.pack("<6BH", deleted, kind == AUDIO, embedded, 0, embedded, 0, width & 0xFFFF)
    record += struct.pack("<2I", width, height)
    return record + (struct.pack("<2i", extra, extra_size) if version == 2 else b"")


class Folder:
    """One source folder: its records and its data file."""

    def __init__(self, path, number):
        self.path, self.number = path, number
        self.data_name = f"{number}.db"
        self.records, self.data = [], b""

    def block(self, name, extra_large=False):
        start = len(self.data)
        parts = [f"[{name} {size}]".encode() for size in ("extra large", "large", "small")]
        extra, large, small = parts if extra_large else (b"", *parts[1:])
        self.data += extra + large + small + TRAILER
        behind_extra = start + len(extra)
        return (behind_extra, len(large), behind_extra + len(large), len(small),
                start if extra_large else -1, len(extra))

    def add(self, name, kind=PICTURE, locations=None, separator="/", **fields):
        locations = locations or self.block(name)
        self.records.append(
            file_record(self.path + separator + name, kind, self.data_name, locations, **fields))
        return self

    def gap(self, size):
        self.data += b"." * size
        return self

    def list_file(self, count=None):
        return struct.pack("<i", len(self.records) if count is None else count) + b"".join(self.records)


def cache(*folders, count=None):
    files = {"DirectoryMap.dat": struct.pack("<i", len(folders) if count is None else count)
             + b"".join(folder_record(f.path, f.number) for f in folders)}
    for folder in folders:
        files[f"{folder.number}.dat"] = folder.list_file()
        if folder.data:
            files[folder.data_name] = folder.data
    files["CacheUpdateInfo.txt"] = struct.pack("<Q", TIME)
    return files


def one():
    return Folder("/pictures/one", 1).add("a.jpg").add("b.jpg")


def two():
    return Folder("/pictures/two", 2).add("c.jpg")


def good_caches():
    version_1 = Folder("/pictures/one", 1).add("a.jpg", version=1).add("b.jpg", version=1, embedded=1)

    mixed = Folder("/pictures/one", 1).add("a.jpg", version=1).add("gone.jpg", deleted=1)
    mixed.gap(17).add("b.jpg").add("c.jpg", version=1)

    blockless = Folder("/pictures/one", 1)
    blockless.add("song.mp3", AUDIO, (-1, 321, 320, 0, -1, 0), width=0, height=0)
    blockless.add("note.txt", UNKNOWN, (-1, 321, -1, 321, -1, 0), width=0, height=0)
    blockless.add("film.avi", VIDEO, (-1, 321, -1, 321, -1, 0), width=0, height=0)
    blockless.add("clip.avi", VIDEO, NOTHING, width=640, height=480)

    large = Folder("/pictures/one", 1)
    large.add("film.avi", VIDEO, large.block("film.avi", True)).add("scan.tif", PICTURE, large.block("scan.tif", True))
    large.add("shrunk.jpg", PICTURE, large.block("shrunk.jpg")[:4] + (-1, 777))

    classic = Folder("C:\\P", 1).add("a.jpg", separator="\\")
    return {"version-1": cache(version_1), "mixed-versions": cache(mixed), "without-blocks": cache(blockless),
            "extra-large": cache(large), "two-folders": cache(one(), two()), "classic-paths": cache(classic)}


def changed(name, change):
    """The cache of two folders with one file changed."""
    files = cache(one(), two())
    files[name] = change(files[name])
    return files


def patched(offset, new):
    return lambda content: content[:offset] + new + content[offset + len(new):]


def damaged_indexes():
    second = 4 + len(folder_record("/pictures/one", 1))  # offset of the second record
    index = "DirectoryMap.dat"
    return {
        "index-cut-in-count": changed(index, lambda content: content[:2]),
        "index-cut-in-path": changed(index, lambda content: content[:second + 4 + 4 + 10]),
        "index-cut-in-list-name": changed(index, lambda content: content[:-8]),
        "index-cut-in-number": changed(index, lambda content: content[:-2]),
        "index-version-2": changed(index, patched(4, struct.pack("<I", 2))),
        "index-length-negative": changed(index, patched(second + 4, struct.pack("<i", -1))),
        "index-length-huge": changed(index, patched(second + 4, struct.pack("<i", 2**31 - 1))),
        "index-count-high": cache(one(), two(), count=5),
        "index-count-low": cache(one(), two(), count=1),
    }


def damaged_lists():
    second = 4 + len(one().records[0])  # offset of the second record
    third = second + len(one().records[1])
    fixed = third - 68 + 16  # of the second record, from its last write time on
    length = lambda value: changed("1.dat", patched(second + 4, struct.pack("<i", value)))
    missing = cache(one(), two())
    del missing["1.dat"]
    return {
        "list-missing": missing,
        "list-cut-in-count": changed("1.dat", lambda content: content[:2]),
        "list-cut-in-path": changed("1.dat", lambda content: content[:second + 4 + 4 + 31]),
        "list-cut-before-mark": changed("1.dat", lambda content: content[:fixed + 20]),
        "list-cut-behind-mark": changed("1.dat", lambda content: content[:third - 12]),
        "list-cut-between-records": changed("1.dat", lambda content: content[:second]),
        "list-version-3": changed("1.dat", patched(second, struct.pack("<I", 3))),
        "list-length-negative": length(-1),
        "list-length-above-limit": length(2**20 + 1),
        "list-length-huge": length(2**31 - 1),
        "list-count-high": changed("1.dat", patched(0, struct.pack("<i", 3))),
        "list-count-low": changed("1.dat", patched(0, struct.pack("<i", 1))),
        "list-data-file-of-another": changed(
            "1.dat", lambda content: content.replace(text("1.db"), text("2.db"), 1)),
        "list-trailing-bytes": changed("1.dat", lambda content: content + content[4:40]),
        "list-repeated-record": changed("1.dat", lambda content: patched(0, struct.pack("<i", 3))(content)
                                        + content[second:]),
    }


def damaged_data_files():
    missing = cache(one(), two())
    del missing["1.db"]
    return {
        "data-missing": missing,
        "data-cut-off": changed("1.db", lambda content: content[:-20]),
        "data-trailer-overwritten": changed("1.db", lambda content: content[:-12] + b"\xFF" * 12),
    }


def main():
    here = pathlib.Path(__file__).parent
    for name, files in {**good_caches(), **damaged_indexes(), **damaged_lists(), **damaged_data_files()}.items():
        folder = here / name
        folder.mkdir(exist_ok=True)
        for file, content in files.items():
            (folder / file).write_bytes(content)


if __name__ == "__main__":
    main()
