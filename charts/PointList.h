#pragma once
// Point lists of the chart document's curves, as the text of a Highcharts data array.

#include "xml/XmlNode.h"

#include <string>

// The points of curve curveName below parent as "[x,y],[x,y],...", thinned to about 500
// points (about 50 when coarse). Coarse writes both values as %5.2f; fine writes x as %.16g
// and y as %.*g with yPrecision. Non-finite values are written null. The number of points is
// x's decoded length over 8; the text is empty when the curve, its x or y is missing or
// undecodable, that number is 0, or x or y really decodes to fewer bytes than the points need
// (a truncated text); so also on the empty node.
std::string buildPointList(XmlNode parent, const char* curveName, bool coarse,
                           int yPrecision);
