// Runs the program that its arguments name, prints the most bytes that it had
// resident and ends as it does. What the program prints goes nowhere. A large process cannot tell:
// what it had itself when it started the program counts as the program's.

#include <cstdio>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int, char **argv)
{
    const pid_t child = fork();
    if (child == 0) {
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        execv(argv[1], argv + 1);
        _exit(127);
    }
    int status = 0;
    rusage usage {};
    if (child < 0 || wait4(child, &status, 0, &usage) != child || !WIFEXITED(status))
        return 126;
    std::printf("%lld", usage.ru_maxrss * 1024LL);
    return WEXITSTATUS(status);
}
