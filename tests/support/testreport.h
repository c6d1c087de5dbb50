#pragma once

#include <QObject>

// Runs the test functions of an object, with their usual output. What became of each row
// goes to the file that CRAYVELL_TEST_REPORT names, without its suffix: tests/skips.py
// looks there for the rows that were skipped. 0 where none failed, 77 where all were
// skipped, and 1 else.
int runTestsOf(QObject &tests, int argc, char **argv);
