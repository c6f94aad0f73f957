// Parameter files: a small text format for nested configuration.
//
//     # a comment
//     name        value of several words
//     hash        a literal \# inside a value
//     layers &Arr{
//         coast   &Arr{
//             type  vector
//         }
//     }
//     buttons &Tbl{
//         zoom_in  c 10 10
//         zoom_out c 30 10
//     }
//
// Every line holds a key and its value (the rest of the line), or a key and
// "&Arr{" or "&Tbl{" opening a nested array or list, or a lone "}" closing
// it. Inside a list every line is one element: a value, or "&Arr{"/"&Tbl{".
#ifndef HX_PF_H
#define HX_PF_H

#include "hx_containers.h"

struct Pf;

enum { PFSTRING = 1, PFARR = 2, PFTBL = 3 };

// Maximum nesting depth of arrays and lists that pfcompile accepts.
enum { HX_PF_MAX_DEPTH = 64 };

// Compiles text into a new array node at *pf. Returns 0, or -1 after
// registering an error that names the line ("pfcompile: line 3: ...").
// On error *pf is null and nothing is leaked.
int pfcompile(const char* text, Pf** pf);

// Releases a compiled tree (null allowed).
void pffree(Pf* pf);

// The type of a node (PFSTRING, PFARR or PFTBL), or -1 for null.
int pftype(const Pf* pf);

// The string of a PFSTRING node, or null for other nodes.
const char* pfstring(const Pf* pf);

// The array of a PFARR node (values are Pf*) and the list of a PFTBL node
// (elements are Pf*), both owned by pf; null for other nodes. They reach
// nested values that have no name, such as a list inside a list.
Arr* pfarr(Pf* pf);
Tbl* pftbl(Pf* pf);

// Looks up name in an array node: returns the child's type and stores the
// child node (owned by pf) in *value; -1 when absent or pf is not an array.
int pfget(Pf* pf, const char* name, Pf** value);

// The keys of an array node in sorted order (strings owned by pf): free the
// list with freetbl(keys, 0). Null when pf is not an array.
Tbl* pfkeys(Pf* pf);

// Reads name from an array node and converts it. Types:
//   'P' Pf*    the node itself, any type (owned by pf)
//   's' char*  a malloc'd copy of a string value (the caller frees it)
//   'd' int    an integer (strtol base 0, the whole value)
//   'f' double a number
//   'b' int    a boolean word (HX_ParseBoolean)
//   'a' Arr*   the array of an &Arr{} value; its values are Pf* (owned by pf)
//   't' Tbl*   the list of an &Tbl{} value; its elements are Pf* (owned by pf)
// Returns 0 when the value was read, 1 when it is absent and not required
// (value untouched), and -1 after registering an error when it is absent
// but required, of the wrong kind or malformed.
int parse_param(Pf* pf, const char* name, int type, int required, void* value);

#endif
