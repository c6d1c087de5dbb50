#include "photo/systemmessages.h"

#include <cerrno>
#include <cstring>

namespace photo {

void openSystemMessages()
{
    [[maybe_unused]] const char *const any = std::strerror(EPERM);
}

} // namespace photo
