// Captures what a piece of code writes to standard output or error.
#ifndef KGRQT_TEST_CAPTURE_H
#define KGRQT_TEST_CAPTURE_H

#include <cstdio>
#include <string>
#include <unistd.h>

// Runs body with file descriptor fd (1 or 2) redirected into a temporary
// file and returns what was written.
template <class Body> std::string captureFd(int fd, Body body)
{
    fflush(nullptr);
    FILE* tmp = tmpfile();
    int saved = dup(fd);
    dup2(fileno(tmp), fd);
    body();
    fflush(nullptr);
    dup2(saved, fd);
    close(saved);
    std::string out;
    rewind(tmp);
    char buf[512];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, tmp)) > 0)
        out.append(buf, n);
    fclose(tmp);
    return out;
}

#endif
