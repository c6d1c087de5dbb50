#pragma once

namespace photo {

// Opens the system's own messages in the user's language, of which the toolkit takes the reason
// of each failure. To be called once, after the locale is set and while there is memory: glibc
// 2.36 crashes where memory runs out as it opens them.
void openSystemMessages();

} // namespace photo
