// Test helpers around the process-wide error register.
#ifndef KGRQT_TEST_REGISTER_H
#define KGRQT_TEST_REGISTER_H

#include "hx_error.h"

#include <cstdlib>
#include <string>

// The register's whole text, then empties it.
inline std::string takeRegister()
{
    char* text = hx_register_text();
    std::string s = text ? text : "";
    free(text);
    hx_clear_register(0);
    return s;
}

#endif
