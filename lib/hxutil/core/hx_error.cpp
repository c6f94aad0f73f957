#include "hx_error.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace {

struct Message {
    int level;
    std::string text;
};

struct Register {
    std::mutex mutex;
    std::vector<Message> messages;
    FILE* stream = nullptr;
};

// Constructed on first use so that static initialisers elsewhere may report.
Register& errorRegister()
{
    static Register* reg = new Register; // never destroyed: reachable from exit handlers
    return *reg;
}

std::string formatMessage(const char* format, va_list args)
{
    if (!format)
        return std::string();
    va_list copy;
    va_copy(copy, args);
    int n = vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (n <= 0)
        return std::string();
    std::string text(static_cast<size_t>(n) + 1, '\0');
    vsnprintf(&text[0], text.size(), format, args);
    text.resize(static_cast<size_t>(n));
    return text;
}

FILE* complaintStream(const Register& reg)
{
    return reg.stream ? reg.stream : stderr;
}

char* copyString(const std::string& s)
{
    char* out = static_cast<char*>(malloc(s.size() + 1));
    if (out)
        memcpy(out, s.c_str(), s.size() + 1);
    return out;
}

int append(int level, std::string&& text, bool printNow)
{
    Register& reg = errorRegister();
    std::lock_guard<std::mutex> lock(reg.mutex);
    if (printNow) {
        fputs(text.c_str(), complaintStream(reg));
        fflush(complaintStream(reg));
    }
    try {
        reg.messages.push_back(Message{level, std::move(text)});
    } catch (...) {
        // Out of memory: the message is lost, the register stays usable.
    }
    return static_cast<int>(reg.messages.size());
}

} // namespace

int hx_register_error(int level, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    std::string text = formatMessage(format, args);
    va_end(args);
    return append(level, std::move(text), false);
}

int hx_complain(int level, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    std::string text = formatMessage(format, args);
    va_end(args);
    return append(level, std::move(text), true);
}

void hx_clear_register(int print)
{
    Register& reg = errorRegister();
    std::lock_guard<std::mutex> lock(reg.mutex);
    if (print) {
        for (const Message& m : reg.messages)
            fputs(m.text.c_str(), complaintStream(reg));
        fflush(complaintStream(reg));
    }
    reg.messages.clear();
}

int hx_register_count()
{
    Register& reg = errorRegister();
    std::lock_guard<std::mutex> lock(reg.mutex);
    return static_cast<int>(reg.messages.size());
}

int hx_register_level(int i)
{
    Register& reg = errorRegister();
    std::lock_guard<std::mutex> lock(reg.mutex);
    if (i < 0 || i >= static_cast<int>(reg.messages.size()))
        return -1;
    return reg.messages[static_cast<size_t>(i)].level;
}

char* hx_register_message(int i)
{
    Register& reg = errorRegister();
    std::lock_guard<std::mutex> lock(reg.mutex);
    if (i < 0 || i >= static_cast<int>(reg.messages.size()))
        return nullptr;
    return copyString(reg.messages[static_cast<size_t>(i)].text);
}

char* hx_register_text()
{
    Register& reg = errorRegister();
    std::lock_guard<std::mutex> lock(reg.mutex);
    std::string all;
    for (const Message& m : reg.messages)
        all += m.text;
    return copyString(all);
}

void hx_set_complaint_stream(FILE* stream)
{
    Register& reg = errorRegister();
    std::lock_guard<std::mutex> lock(reg.mutex);
    reg.stream = stream;
}
