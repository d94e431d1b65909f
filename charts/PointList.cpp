#include "charts/PointList.h"

#include "html/NumberFormat.h"
#include "xml/Base64Decoder.h"
#include "xml/Base64Index.h"

#include <algorithm>
#include <bit>
#include <utility>
#include <vector>

namespace {

// One array of little-endian doubles. Regular base64 text is read in place, point by point;
// other text is decoded whole, as the decoder alone knows how far such text goes.
struct DoubleArray {
    Base64Index index;
    std::vector<unsigned char> decoded;
    const unsigned char* bytes = nullptr;  // the whole decode, for irregular text only
    int64_t length = 0;      // what the text should decode to
    int64_t validBytes = 0;  // what it did decode to; 0 when the text is unusable

    explicit DoubleArray(std::string_view text) : index(text) {
        if (index.shape() == Base64Index::Shape::Regular) {
            length = validBytes = index.length();
            return;
        }
        // The index's pass has counted the length the decoder's would: one pass decodes.
        const int32_t decodedLength = index.decodedLength();
        if (index.shape() == Base64Index::Shape::Unusable || decodedLength <= 0)
            return;
        decoded.resize(static_cast<size_t>(decodedLength) + 1);
        int32_t written = 0;
        if (Base64Decoder::decodeInto(text, decoded.data(), decodedLength, nullptr, &written) == Base64Failed)
            return;
        bytes = decoded.data();
        length = decodedLength;
        validBytes = written;
    }

    bool holds(int64_t count) const { return count >= 1 && validBytes >= count * 8; }

    double at(int64_t position) const {
        unsigned char read[8];
        const unsigned char* p = read;
        if (bytes != nullptr)
            p = bytes + position * 8;
        else
            index.read(position * 8, 8, read);
        // Little-endian whatever the host; compilers turn this into one load on x86.
        uint64_t bits = 0;
        for (int k = 7; k >= 0; --k)
            bits = (bits << 8) | p[k];
        return std::bit_cast<double>(bits);
    }
};

struct PointWriter {
    std::string& out;
    const DoubleArray& x;
    const DoubleArray& y;
    bool coarse;
    int yPrecision;

    void write(int64_t index, const char* opening) const {
        out += opening;
        if (coarse) {
            NumberFormat::appendJsFixed(out, x.at(index), 2, 5);
            out += ',';
            NumberFormat::appendJsFixed(out, y.at(index), 2, 5);
        } else {
            NumberFormat::appendJsG(out, x.at(index), 16);
            out += ',';
            NumberFormat::appendJsG(out, y.at(index), yPrecision);
        }
        out += ']';
    }
};

}  // namespace

std::string buildPointList(XmlNode parent, const char* curveName, bool coarse,
                           int yPrecision) {
    const XmlNode curve = parent.childNamed(curveName);
    const DoubleArray x(curve.childNamed("x").textAt(0));
    const int64_t n = x.length / 8;
    if (!x.holds(n))
        return {};
    const DoubleArray y(curve.childNamed("y").textAt(0));
    if (!y.holds(n))
        return {};

    // The position accumulates by repeated addition, not multiplication: the rounding drift
    // decides which points are picked (n = 501 ends with 498 and 500), as existing reports show.
    const double factor = std::max(1.0, static_cast<double>(n) / 500.0);
    const double step = coarse ? factor * 10 : factor;
    std::string out;
    out.reserve(static_cast<size_t>(std::min<int64_t>(n, 502)) * 48);
    const PointWriter writer{out, x, y, coarse, yPrecision};
    writer.write(0, "[");
    for (double t = step; static_cast<double>(n) - step > t; t += step)
        writer.write(static_cast<int64_t>(t), ",[");
    writer.write(n - 1, ",[");
    return out;
}

const std::string& PointListCache::get(const XmlNode& parent, const char* curveName, bool coarse, int yPrecision) {
    XmlNode curve = parent.childNamed(curveName);
    const auto key = std::make_tuple(curve.identity(), coarse, yPrecision);
    auto found = lists.find(key);
    if (found == lists.end()) {
        std::string text = buildPointList(parent, curveName, coarse, yPrecision);
        found = lists.emplace(key, Entry{std::move(curve), std::move(text)}).first;
    }
    return found->second.text;
}
