#include "photo/jpegerrors.h"

#include <jerror.h>

namespace photo {

JpegErrors::JpegErrors()
    : jpeg_error_mgr {}
{
    jpeg_std_error(this);
    error_exit = onError;
    emit_message = onMessage;
}

void JpegErrors::onError(j_common_ptr jpeg)
{
    auto *const errors = static_cast<JpegErrors *>(jpeg->err);
    char reason[JMSG_LENGTH_MAX];
    errors->format_message(jpeg, reason);
    errors->giveUp(reason);
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

} // namespace photo
