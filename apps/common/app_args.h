// Command-line values and display detection shared by the programs.
#ifndef KGRQT_APP_ARGS_H
#define KGRQT_APP_ARGS_H

// A device-pixel ratio for snapshots: a number from 1 to 8.
bool app_parse_ratio(const char* text);

// "WIDTHxHEIGHT", each from 50 to 10000 pixels.
bool app_parse_size(const char* text, int* width, int* height);

// A whole text that is a finite number.
bool app_parse_number(const char* text, double* value);

// Whether the environment names a display (or a platform to use instead).
bool app_has_display();

// Whether the running platform has no screen, so that a window could never
// be seen or closed. Needs the application object.
bool app_is_headless();

#endif
