#pragma once

// What nthcall.cpp counts, and which of it is to fail: its variables of the environment.
namespace countedcalls {

enum Kind {
    Open,
    Write,
    Fsync,
    Linkat,
    Renameat2,
    Rename,
    Unlink,
    Close,
    Fallocate,
    Ftruncate,
    Mmap,
    Malloc,
    kinds
};

constexpr int shortWrite = -1; // an errorOf() a call

// From NTH_CALL.
void readSetting();
void count(bool isOn);

// Counts a call: 0, or the error that it is to fail with. Ends the program where the
// setting says so.
int errorOf(Kind kind);
// True, with errno set, for a call that is to fail.
bool fails(Kind kind);
// Whether NTH_CALL_REFUSED has the word; counts how often it did.
bool isRefused(const char *word);
// "" for one that is not set.
const char *variable(const char *name);

} // namespace countedcalls
