#pragma once

#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

#include "photo/errorjump.h"

namespace photo {

// Ends steps at libjpeg's errors, and tells what its warnings mean for a picture.
class JpegErrors : public jpeg_error_mgr, public ErrorJump
{
public:
    JpegErrors();

    // Whether the data ended early, or were found to be wrong.
    bool isTruncated() const { return m_truncated; }
    bool isDamaged() const { return m_damaged; }

private:
    [[noreturn]] static void onError(j_common_ptr jpeg);
    static void onMessage(j_common_ptr jpeg, int level);

    bool m_truncated = false;
    bool m_damaged = false;
};

} // namespace photo
