// Associative arrays with string keys (Arr) and ordered lists (Tbl).
//
// Both hold untyped pointers that they do not own; the free procedures take
// an optional destructor for the values.
#ifndef HX_CONTAINERS_H
#define HX_CONTAINERS_H

struct Arr;
struct Tbl;

typedef int HX_KeyCompare(const char* a, const char* b);
typedef void HX_FreeProc(void* value);

// A new empty array whose keys are ordered by compare (strcmp when null).
// Returns null when memory runs out.
Arr* newarr(HX_KeyCompare* compare);
// The value stored under key, or null.
void* getarr(const Arr* arr, const char* key);
// Stores value under a copy of key; returns the value it replaces, or null.
void* setarr(Arr* arr, const char* key, void* value);
// Removes key; returns its value, or null when it was absent.
void* delarr(Arr* arr, const char* key);
// Number of keys.
int cntarr(const Arr* arr);
// A new Tbl of the keys in sorted order. The key strings belong to the array
// and stay valid while their entries exist: free the list with freetbl(t, 0).
Tbl* keysarr(const Arr* arr);
// Frees the array, calling free_value (when not null) on every value.
void freearr(Arr* arr, HX_FreeProc* free_value);

// A new empty list; size is a capacity hint. Null when memory runs out.
Tbl* newtbl(int size);
// Element i, or null when i is out of range.
void* gettbl(const Tbl* tbl, int i);
// Sets element i; i equal to maxtbl(tbl) (or negative) appends. Returns the
// index written, or -1 when i lies beyond the end or memory runs out.
int settbl(Tbl* tbl, int i, void* value);
// Number of elements.
int maxtbl(const Tbl* tbl);
// Sorts the elements with compare(a, b, private_data), which receives the
// two elements themselves; equal elements keep their order.
void sorttbl(Tbl* tbl, int (*compare)(void* a, void* b, void* private_data), void* private_data);
// Frees the list, calling free_value (when not null) on every element.
void freetbl(Tbl* tbl, HX_FreeProc* free_value);

// A growing string: pushstr appends s to the string kept at *stack (start
// with a null *stack); popstr returns it as a malloc'd string and resets
// *stack to null. Returns 0, or -1 when memory runs out.
int pushstr(void** stack, const char* s);
char* popstr(void** stack);

#endif
