#pragma once
// Walks the children of one name in document order. The cursor form of childNamed keeps the
// walk linear over variables of tens of thousands of modalities, where asking for the n-th
// match would rescan from the front for every child.

#include "xml/XmlNode.h"

template <typename Visit>
void forEachChildNamed(const XmlNode& parent, const char* name, Visit&& visit) {
    int32_t cursor = 0;
    for (XmlNode child = parent.childNamed(name, &cursor); !child.isEmpty();
         child = parent.childNamed(name, &cursor))
        visit(child);
}
