#pragma once
// Resource files run to 100 KiB: a failed comparison shows their size and start, not every byte.

#include <QByteArray>

#include <ostream>

inline void PrintTo(const QByteArray& bytes, std::ostream* os) {
    *os << bytes.size() << " bytes: " << bytes.left(60).toStdString();
}
