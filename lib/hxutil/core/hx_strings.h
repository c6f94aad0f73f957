// String helpers shared by every parser of the library.
#ifndef HX_STRINGS_H
#define HX_STRINGS_H

// strcmp that accepts null pointers and reads them as the empty string, so
// an unset value and an empty one compare equal.
int HX_Strcmp(const char* a, const char* b);

// Splits s into words at blanks (space, tab, newline, carriage return).
// A word may be enclosed in double quotes to hold blanks ("DejaVu Sans" 12);
// inside quotes a backslash escapes the next character. On success *argc
// and *argv receive a malloc'd list (argv[argc] is null) to be released with
// freeargs, and 0 is returned. A null string, an unterminated quote or an
// allocation failure returns -1 and leaves *argc = 0, *argv = null.
int splitlist(const char* s, int* argc, char*** argv);

// Splits s at every occurrence of any character of separators. Fields are
// kept exactly, empty ones included, so "1,,3" gives three fields and ""
// gives one empty field. Errors as for splitlist (a null separator set too).
int splitlistc(const char* s, int* argc, char*** argv, const char* separators);

// Releases a list made by splitlist or splitlistc; null is allowed.
void freeargs(int argc, char** argv);

// strtod that always reads the C notation ("1.5"), whatever LC_NUMERIC the
// application selected (Qt applications adopt the user's locale).
double fix_strtod(const char* s, char** end);

// Reads a boolean word: "1", "yes", "y", "on", "true", "t" give 1 and "0",
// "no", "n", "off", "false", "f" give 0, in any case and with surrounding
// blanks ignored. Anything else (null included) gives -1.
int HX_ParseBoolean(const char* s);

#endif
