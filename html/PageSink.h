#pragma once
// The page's one output: UTF-8 bytes gathered into blocks and handed to the writer that the
// driver gives, which owns the file. Every hand-over is checked.

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

class PageSink {
public:
    // Hands bytes on; answers false when they did not all arrive.
    using Writer = std::function<bool(std::string_view bytes)>;

    explicit PageSink(Writer writer);
    // Hands on what is still gathered.
    ~PageSink();
    PageSink(const PageSink&) = delete;
    PageSink& operator=(const PageSink&) = delete;

    // Hands on what is gathered; false once any hand-over has failed.
    bool flush();
    // True once a hand-over has failed: the page is incomplete.
    bool writeFailed() const { return failed; }

    // Appends bytes to the page.
    PageSink& operator<<(std::string_view bytes);
    // Appends the decimal digits of value.
    PageSink& operator<<(int value);
    // A character would otherwise be taken for its code as a number.
    PageSink& operator<<(char) = delete;

private:
    // Most of a page is large pieces of script and rows: a block of this size spares a call
    // to the writer per piece.
    static constexpr size_t blockBytes = size_t{1} << 20;

    Writer writer;
    std::string block;
    bool failed = false;
};
