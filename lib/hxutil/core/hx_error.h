// Process-wide error register.
//
// Library procedures append formatted messages here instead of printing them;
// the application decides when to read, print or clear them. All functions
// are safe to call from any thread.
#ifndef HX_ERROR_H
#define HX_ERROR_H

#include <cstdio>

// Severity given as the first argument of hx_register_error and hx_complain.
enum {
    HX_ERROR_INPUT = 0, // bad input: a malformed value, an unknown name
    HX_ERROR_ALLOC = 1  // an allocation failed
};

// Appends one message, formatted as printf does. Returns the number of
// messages held afterwards.
int hx_register_error(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// A non-fatal complaint: it is written to the complaint stream (standard
// error unless hx_set_complaint_stream says otherwise) at once, and also
// kept in the register so that it can be inspected later.
int hx_complain(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Empties the register. With print nonzero the messages are first written,
// in order, to the complaint stream.
void hx_clear_register(int print);

// Number of messages held.
int hx_register_count();

// The level of message i (0 = oldest), or -1 when there is no such message.
int hx_register_level(int i);

// A newly allocated copy of message i, or null; the caller frees it.
char* hx_register_message(int i);

// A newly allocated string of every message held, concatenated in order
// ("" when the register is empty); the caller frees it.
char* hx_register_text();

// Where complaints and printed registers go; null restores standard error.
void hx_set_complaint_stream(FILE* stream);

#endif
