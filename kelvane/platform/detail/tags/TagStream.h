// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/detail/FileDescriptor.h>

#include <cstdint>
#include <tiostream.h>
#include <vector>

namespace kelvane::detail {

/// The bytes of an open file as the tag library wants them, with a budget: a file can make the library neither read
/// nor allocate more than the limits below, and a failed write is not forgotten.
///
/// Ownership: owns the descriptor.
class TagStream final : public TagLib::IOStream {
public:
    /// No tag or picture of a real file comes near it; the length fields of a damaged one do.
    static constexpr std::uint64_t maximumBlock = std::uint64_t{64} << 20;
    /// All reads together. Small ones count several times over: the library searches files in small blocks, at a
    /// twentieth of the speed of reading, and keeps objects of hundred bytes for headers of eight.
    static constexpr std::uint64_t maximumTotal = std::uint64_t{128} << 20;
    static constexpr std::uint64_t smallBlock = 4096;
    static constexpr std::uint64_t smallBlockFactor = 8;
    /// Blocks that may be written to any file, and to one of a given length: the library writes each of the offsets of an MP4
    /// file by itself, as many as a damaged table says there are.
    static constexpr std::uint64_t mostWrites = 10'000;
    static constexpr std::uint64_t bytesPerWrite = 64;

    TagStream(FileDescriptor descriptor, bool writable);

    /// A read was refused: what the library knows of the file is not all.
    [[nodiscard]] bool isIncomplete() const noexcept { return _incomplete; }
    /// The errno of the first write that failed, 0 if none did.
    [[nodiscard]] int writeError() const noexcept { return _writeError; }
    [[nodiscard]] int descriptor() const noexcept { return _descriptor.get(); }

    /// From now on the atom at `offset` reads as one that the library passes by.
    void hideAtom(long offset) { _hiddenAtom = offset; }

    [[nodiscard]] TagLib::FileName name() const override { return ""; }
    TagLib::ByteVector readBlock(unsigned long length) override;
    void writeBlock(const TagLib::ByteVector &data) override;
    void insert(const TagLib::ByteVector &data, unsigned long start, unsigned long replace) override;
    void removeBlock(unsigned long start, unsigned long length) override;
    [[nodiscard]] bool readOnly() const override { return !_writable; }
    [[nodiscard]] bool isOpen() const override { return true; }
    void seek(long offset, Position position) override;
    [[nodiscard]] long tell() const override { return _position; }
    long length() override { return _length; }
    void truncate(long length) override;

private:
    std::size_t readAt(long offset, char *bytes, std::size_t count);
    void writeAt(long offset, const char *bytes, std::size_t count);
    void moveBytes(long from, long to, long count);
    void hideAtomIn(TagLib::ByteVector &block, long blockStart) const;

    const FileDescriptor _descriptor;
    const bool _writable;
    bool _incomplete = false;
    int _writeError = 0;
    long _position = 0;
    long _length = 0;
    std::uint64_t _charged = 0;
    std::uint64_t _writes = 0;
    long _hiddenAtom = -1;
    // The last block read, if that was the header of an ID3v2 tag.
    TagLib::ByteVector _id3Header;
    // The library reads headers of a few bytes each, mostly close together.
    std::vector<char> _cache;
    long _cacheStart = 0;
    std::size_t _cacheSize = 0;
};

} // namespace kelvane::detail
