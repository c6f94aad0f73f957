// Registry of named objects, shared by the whole process.
//
// Widgets that must be found by name (a picker shared between a map and its
// taskbars, for instance) are registered here together with their class name.
#ifndef HX_NAMES_H
#define HX_NAMES_H

// Registers object under name with its class name; a later registration of
// the same name replaces the earlier one. Returns 0, or -1 for a null name
// or object.
int HX_SetName(const char* name, const char* class_name, void* object);

// The object registered under name, or null. A null class_name matches any
// class; otherwise the registered class name must be equal.
void* HX_GetObject(const char* name, const char* class_name);

// The name under which object was registered (the most recent one), or null.
// A null class_name matches any class. The string stays valid until the
// entry is removed or replaced.
const char* HX_GetName(const void* object, const char* class_name);

// Removes every entry of object, for example from a widget's destructor.
// Returns the number of entries removed.
int HX_UnsetObject(const void* object);

#endif
