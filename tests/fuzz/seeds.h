#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

// Inputs that fuzzing begins with, by their files' names.
using Seeds = QMap<QString, QByteArray>;

// Every kind of picture that is accepted, as the toolkit writes them.
Seeds writtenPhotos();
// The kinds that the toolkit reads only.
Seeds otherPhotos();
// Of kinds that are known, though the toolkit refuses some.
Seeds refusedPhotos();
// A command line for every option, each with a list of names behind it.
Seeds optionSeeds();
