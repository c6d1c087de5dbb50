#pragma once

#include <QSize>

#include <string>

namespace batch {

enum class Status { Done, Planned, Skipped, Failed };

// How one photo ended.
struct PhotoResult
{
    Status status = Status::Failed;
    std::string reason; // for Skipped and Failed
    // What the sketch lacks, and why, with a colon between these; mostly empty.
    std::string warning;
    bool replaces = false; // the output was there before; for Planned
    QSize size; // of the sketch, once known
    qint64 milliseconds = 0;
};

} // namespace batch
