#pragma once
// Loading a document from disk: a chain of short steps (open, read, detect the encoding,
// convert, parse), each of which answers an XmlError.

#include "xml/XmlRecord.h"

class XmlFile {
public:
    // Files must be smaller than 2 GB: sizes and positions are held in 32 bits.
    static constexpr int64_t maxSize = INT32_MAX;

    // Reads, decodes and parses the file at path (native bytes), as XmlNode::parseFile.
    static XmlNode load(const char* path, std::string_view requiredTag, XmlParseResult* result);

    // The file's bytes followed by at least 4 zero bytes, so that they end in a terminating zero
    // read as 8-bit text or as UTF-16 at either byte parity.
    struct RawBytes {
        RawStorage storage;    // UTF-16 files are read from here
        size_t byteCount = 0;  // bytes actually read
        // The bytes from asciiFrom (0, or 3 after a UTF-8 byte-order mark) to asciiEnd are ASCII
        // other than zero: checked piece by piece as the file came in, each piece while it was
        // still in the cache. Nothing is known before checkedTo is past asciiFrom.
        size_t asciiFrom = 0;
        size_t asciiEnd = 0;
        size_t checkedTo = 0;
        // How many bytes after a byte-order mark of markLength bytes are known to be ASCII.
        size_t knownAscii(size_t markLength) const noexcept {
            return checkedTo > asciiFrom && asciiFrom == markLength ? asciiEnd - asciiFrom : 0;
        }
        const unsigned char* bytes() const noexcept {
            return reinterpret_cast<const unsigned char*>(storage.get());
        }
    };

    // The whole file at path, read to its end without seeking, so that a pipe reads as a file
    // does. CannotOpenFile for a missing file, a folder or a failed read, EmptyFile for length 0
    // (a pipe that no one writes to included), FileTooLarge from 2 GB on.
    static XmlError readFile(const char* path, RawBytes& raw);
    // Parses the bytes in the encoding that their byte-order mark or the UTF-16 test tells.
    // ASCII and valid UTF-8 are parsed where they lie; other text is converted to UTF-8 once.
    static XmlNode parseBytes(RawBytes& raw, std::string_view requiredTag, XmlParseResult* result);

private:
    class Descriptor;
    static XmlError openFile(const char* path, Descriptor& file, size_t& sizeHint);
    static XmlError readBytes(const Descriptor& file, size_t sizeHint, RawBytes& raw);
    // Extends the known ASCII run over the bytes read up to count.
    static void checkAscii(RawBytes& raw, size_t count, bool atEnd) noexcept;
};
