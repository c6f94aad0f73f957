#include "hx_strings.h"

#include <cctype>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <locale.h>
#include <string>
#include <strings.h>
#include <vector>

int HX_Strcmp(const char* a, const char* b)
{
    return strcmp(a ? a : "", b ? b : "");
}

namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Hands words over as a malloc'd, null-terminated vector.
int makeArgs(const std::vector<std::string>& words, int* argc, char*** argv)
{
    char** list = static_cast<char**>(calloc(words.size() + 1, sizeof(char*)));
    if (!list)
        return -1;
    for (size_t i = 0; i < words.size(); ++i) {
        list[i] = strdup(words[i].c_str());
        if (!list[i]) {
            freeargs(static_cast<int>(i), list);
            return -1;
        }
    }
    *argc = static_cast<int>(words.size());
    *argv = list;
    return 0;
}

void clearArgs(int* argc, char*** argv)
{
    if (argc)
        *argc = 0;
    if (argv)
        *argv = nullptr;
}

// Reads one quoted word starting after the opening quote; returns the
// position after the closing quote, or null when the quote is not closed.
const char* readQuoted(const char* p, std::string& word)
{
    for (; *p; ++p) {
        if (*p == '"')
            return p + 1;
        if (*p == '\\' && p[1])
            ++p;
        word += *p;
    }
    return nullptr;
}

bool splitWords(const char* s, std::vector<std::string>& words)
{
    const char* p = s;
    while (*p) {
        if (isBlank(*p)) {
            ++p;
            continue;
        }
        std::string word;
        while (*p && !isBlank(*p)) {
            if (*p == '"') {
                p = readQuoted(p + 1, word);
                if (!p)
                    return false;
            } else {
                word += *p++;
            }
        }
        words.push_back(std::move(word));
    }
    return true;
}

void splitFields(const char* s, const char* separators, std::vector<std::string>& fields)
{
    const char* start = s;
    for (;;) {
        size_t n = strcspn(start, separators);
        fields.emplace_back(start, n);
        if (!start[n])
            break;
        start += n + 1;
    }
}

} // namespace

int splitlist(const char* s, int* argc, char*** argv)
{
    clearArgs(argc, argv);
    if (!s || !argc || !argv)
        return -1;
    try {
        std::vector<std::string> words;
        if (!splitWords(s, words))
            return -1;
        return makeArgs(words, argc, argv);
    } catch (...) {
        return -1;
    }
}

int splitlistc(const char* s, int* argc, char*** argv, const char* separators)
{
    clearArgs(argc, argv);
    if (!s || !argc || !argv || !separators)
        return -1;
    try {
        std::vector<std::string> fields;
        splitFields(s, separators, fields);
        return makeArgs(fields, argc, argv);
    } catch (...) {
        return -1;
    }
}

void freeargs(int argc, char** argv)
{
    if (!argv)
        return;
    for (int i = 0; i < argc; ++i)
        free(argv[i]);
    free(argv);
}

double fix_strtod(const char* s, char** end)
{
    // One C locale for the whole process, made on first use.
    static locale_t cLocale = newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(0));
    if (!s) {
        if (end)
            *end = nullptr;
        return 0.0;
    }
    if (cLocale)
        return strtod_l(s, end, cLocale);
    return strtod(s, end);
}

int HX_ParseBoolean(const char* s)
{
    static const char* const trueWords[] = {"1", "yes", "y", "on", "true", "t"};
    static const char* const falseWords[] = {"0", "no", "n", "off", "false", "f"};
    if (!s)
        return -1;
    while (isBlank(*s))
        ++s;
    size_t n = strlen(s);
    while (n > 0 && isBlank(s[n - 1]))
        --n;
    for (const char* w : trueWords)
        if (strlen(w) == n && strncasecmp(s, w, n) == 0)
            return 1;
    for (const char* w : falseWords)
        if (strlen(w) == n && strncasecmp(s, w, n) == 0)
            return 0;
    return -1;
}
