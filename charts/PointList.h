#pragma once
// Point lists of the chart document's curves, as the text of a chart script's data array.

#include "xml/XmlNode.h"

#include <map>
#include <string>
#include <tuple>

// The points of curve curveName below parent as "[x,y],[x,y],...", thinned to about 500
// points (about 50 when coarse). Coarse writes both values as %5.2f; fine writes x as %.16g
// and y as %.*g with yPrecision. Non-finite values are written null. The number of points is
// x's decoded length over 8; the text is empty when the curve, its x or y is missing or
// undecodable, that number is 0, or x or y really decodes to fewer bytes than the points need
// (a truncated text); so also on the empty node.
std::string buildPointList(XmlNode parent, const char* curveName, bool coarse,
                           int yPrecision);

// Point lists remembered by curve and format: the two lift charts show some curves alike, and
// a curve may hold millions of points.
class PointListCache {
public:
    // buildPointList's text, built once for each curve and format.
    const std::string& get(const XmlNode& parent, const char* curveName, bool coarse, int yPrecision);

private:
    // Each entry holds its curve, so that no other element can take the curve's address while
    // the entry is there.
    struct Entry {
        XmlNode curve;
        std::string text;
    };
    std::map<std::tuple<const void*, bool, int>, Entry> lists;
};
