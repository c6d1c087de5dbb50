#pragma once

#include <QFileInfo>
#include <QStringList>

// The settings by which a program loads a library before the system's own. It is found
// in its folder: a path in LD_PRELOAD itself would end at a space.
inline QStringList preloaded(const char *library)
{
    const QFileInfo file(QString::fromUtf8(library));
    return {QStringLiteral("LD_LIBRARY_PATH=") + file.path(),
            QStringLiteral("LD_PRELOAD=") + file.fileName()};
}
