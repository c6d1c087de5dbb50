#pragma once

#include <QtGlobal>

#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include <jpeglib.h>

// Makes libjpeg's errors, from which it must not return, end a step of C++ code,
// and counts its warnings.
class JpegErrors : public jpeg_error_mgr
{
public:
    JpegErrors();
    JpegErrors(const JpegErrors &) = delete;
    JpegErrors &operator=(const JpegErrors &) = delete;

    // Runs a step that calls libjpeg. False when libjpeg gave up; reason() then
    // says why. The step must own nothing that needs a destructor.
    template <typename Step> bool attempt(Step step)
    {
        if (setjmp(m_jump)) // NOLINT: libjpeg knows no other way
            return false;
        step();
        return true;
    }
    [[noreturn]] void giveUp(const char *reason);
    std::string reason() const { return m_reason; }

    // Whether the data ended early, or were found to be wrong.
    bool isTruncated() const { return m_truncated; }
    bool isDamaged() const { return m_damaged; }

private:
    [[noreturn]] static void onError(j_common_ptr jpeg);
    static void onMessage(j_common_ptr jpeg, int level);

    std::jmp_buf m_jump {};
    char m_reason[JMSG_LENGTH_MAX] {};
    bool m_truncated = false;
    bool m_damaged = false;
};
