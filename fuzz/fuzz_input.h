// Typed values read off a fuzzer's input, shared by the targets that build
// drawing calls from raw bytes.
#ifndef KGRQT_FUZZ_INPUT_H
#define KGRQT_FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

// Reads values off the input, yielding zeros once it runs out.
struct FuzzInput {
    const uint8_t* data;
    size_t size;

    template <typename T> T take()
    {
        T v{};
        size_t n = size < sizeof v ? size : sizeof v;
        memcpy(&v, data, n);
        data += n;
        size -= n;
        return v;
    }

    // A double chosen by a kind byte: one of the special values below
    // special_below, a small number (a Small in steps of 1/scale) below
    // small_below, and any double otherwise. Special values come often, so
    // that the markers and limits the code treats apart are reached.
    template <typename Small, size_t N>
    double number(const double (&specials)[N], unsigned special_below, unsigned small_below,
                  double scale)
    {
        uint8_t kind = take<uint8_t>();
        if (kind < special_below)
            return specials[kind % N];
        if (kind < small_below)
            return take<Small>() / scale;
        return take<double>();
    }
};

// The part of text before the next "\n%%\n" at or after *at, moving *at
// past the separator (or to the end). The parts become C strings, so each
// ends at its first NUL.
inline std::string fuzz_section(const std::string& text, size_t* at)
{
    static const std::string separator = "\n%%\n";
    size_t end = text.find(separator, *at);
    std::string part = text.substr(*at, end == std::string::npos ? end : end - *at);
    *at = end == std::string::npos ? text.size() : end + separator.size();
    part.resize(strnlen(part.c_str(), part.size()));
    return part;
}

#endif
