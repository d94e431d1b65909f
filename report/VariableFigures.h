#pragma once
// One variable's modality figures, read from the document once and shared by the ranking, the
// sparklines, the modality table and the modality chart; and the limits of what those show.

#include "xml/XmlNode.h"

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <vector>

// What the page shows of a variable's modalities, side by side.
namespace ModalityLimits {
// Above this many modalities the table leaves out the modalities of a single line.
constexpr int32_t tableSinglesCut = 2000;
// From this many modalities on the chart leaves out the modalities of at most one line.
constexpr int32_t chartSinglesCut = 200;
// A name longer than labelLimit UTF-16 units is cut to labelKept and "...", in table and chart.
constexpr size_t labelLimit = 103;
constexpr size_t labelKept = 100;
}  // namespace ModalityLimits

struct ModalityFigures {
    std::string_view name;  // null when absent
    int32_t nOcc = 0;
    double sumTarget = 0.0;
};

// The attributes are read as each part of the page always read them: nLine both as an integer
// (the index) and as a real (the sparkline's overall mean, non-finite without lines).
struct VariableFigures {
    int32_t nLine = 0;
    double nLineValue = 0.0;
    double sumTargetTotal = 0.0;
    std::vector<ModalityFigures> modalities;  // the Modality children, in document order

    static VariableFigures read(const XmlNode& variable);
    // Mean target of a modality relative to the variable's, in percent; 0 when nOcc is 0.
    double index(const ModalityFigures& modality) const;
};

// The figures of every variable asked for, read at the first request. The document must outlive
// the cache: its names are views into it.
class VariableFiguresCache {
public:
    const VariableFigures& of(const XmlNode& variable);

private:
    std::unordered_map<const void*, VariableFigures> figures_;
};
