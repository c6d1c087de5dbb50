#pragma once

#include <QString>

// The vendor's place in the web, as it is shown and opened everywhere.
inline QString homepage()
{
    return QStringLiteral("https://www.dellumbra.example/");
}
