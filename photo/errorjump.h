#pragma once

#include <csetjmp>
#include <cstdio>
#include <string>

namespace photo {

// Makes the errors of a C library, from whose handler it must not return, end a
// step of C++ code.
class ErrorJump
{
public:
    ErrorJump() = default;
    ErrorJump(const ErrorJump &) = delete;
    ErrorJump &operator=(const ErrorJump &) = delete;

    // Runs a step that calls the library. False when that gave up; reason() then
    // says why. The step must own nothing that needs a destructor.
    template <typename Step> bool attempt(Step step)
    {
        if (setjmp(m_jump)) // NOLINT: such libraries know no other way
            return false;
        step();
        return true;
    }
    // Only within a step.
    [[noreturn]] void giveUp(const char *reason)
    {
        std::snprintf(m_reason, sizeof m_reason, "%s", reason);
        std::longjmp(m_jump, 1); // NOLINT: such libraries know no other way
    }
    std::string reason() const { return m_reason; }

private:
    std::jmp_buf m_jump {};
    char m_reason[200] {};
};

} // namespace photo
