#include "batch/jpegbasis.h"

#include <jerror.h>

JpegErrors::JpegErrors()
    : jpeg_error_mgr {}
{
    jpeg_std_error(this);
    error_exit = onError;
    emit_message = onMessage;
}

void JpegErrors::giveUp(const char *reason)
{
    if (reason != m_reason)
        std::snprintf(m_reason, sizeof m_reason, "%s", reason);
    std::longjmp(m_jump, 1); // NOLINT: libjpeg knows no other way
}

void JpegErrors::onError(j_common_ptr jpeg)
{
    auto *const errors = static_cast<JpegErrors *>(jpeg->err);
    errors->format_message(jpeg, errors->m_reason);
    errors->giveUp(errors->m_reason);
}

void JpegErrors::onMessage(j_common_ptr jpeg, int level)
{
    if (level >= 0) // a trace
        return;
    auto *const errors = static_cast<JpegErrors *>(jpeg->err);
    ++errors->num_warnings;
    switch (errors->msg_code) {
    case JWRN_JPEG_EOF: errors->m_truncated = true; break;
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_MUST_RESYNC: errors->m_damaged = true; break;
    default: break; // padding between markers and the like, which cameras write
    }
}
