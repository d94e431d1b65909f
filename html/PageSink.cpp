#include "html/PageSink.h"

#include <charconv>
#include <utility>

PageSink::PageSink(Writer writer_) : writer(std::move(writer_)) { block.reserve(blockBytes + 4096); }

PageSink::~PageSink() { flush(); }

bool PageSink::flush() {
    // After a failure the page is lost anyway; the rest of it is not sent on.
    if (!block.empty() && !failed && !writer(block))
        failed = true;
    block.clear();
    return !failed;
}

PageSink& PageSink::operator<<(std::string_view bytes) {
    block.append(bytes);
    if (block.size() >= blockBytes)
        flush();
    return *this;
}

PageSink& PageSink::operator<<(int value) {
    char digits[16];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    return *this << std::string_view(digits, static_cast<size_t>(result.ptr - digits));
}
