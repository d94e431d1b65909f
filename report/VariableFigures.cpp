#include "report/VariableFigures.h"

#include "report/ChildWalk.h"
#include "xml/XmlNumbers.h"

VariableFigures VariableFigures::read(const XmlNode& variable) {
    VariableFigures figures;
    figures.nLine = parseIntOr(variable.attribute("nLine"), 0);
    figures.nLineValue = parseDoubleOr(variable.attribute("nLine"), 0.0);
    figures.sumTargetTotal = parseDoubleOr(variable.attribute("sumTargetTotal"), 0.0);
    figures.modalities.reserve(static_cast<size_t>(variable.childCount()));
    forEachChildNamed(variable, "Modality", [&](const XmlNode& modality) {
        figures.modalities.push_back({modality.attribute("name"), parseIntOr(modality.attribute("nOcc"), 0),
                                      parseDoubleOr(modality.attribute("sumTarget"), 0.0)});
    });
    return figures;
}

double VariableFigures::index(const ModalityFigures& modality) const {
    if (modality.nOcc == 0)
        return 0.0;
    return (nLine * modality.sumTarget) / (modality.nOcc * sumTargetTotal) * 100.0;
}

const VariableFigures& VariableFiguresCache::of(const XmlNode& variable) {
    const auto found = figures_.find(variable.identity());
    if (found != figures_.end())
        return found->second;
    return figures_.emplace(variable.identity(), VariableFigures::read(variable)).first->second;
}
