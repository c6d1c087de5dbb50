#pragma once

#include <QString>

// The vendor's place in the web, as it is shown and opened everywhere. The about
// box alone spells it out once more, within its translated text.
inline QString homepage()
{
    return QStringLiteral("https://www.dellumbra.example/");
}
