// The option engine: static option tables bound to plain records.
//
// A class describes its options in a table of HX_ConfigureSpec rows, each
// bound to one field of a record by byte offset. configure() converts
// name/value string pairs into the fields; printConfigValue() reads them back.
#ifndef HXCONFIGURE_H
#define HXCONFIGURE_H

#include "hx_containers.h"

typedef void* HX_ClientData;

struct HX_ConfigureSpec;

typedef int HX_OptionParseProc(HX_ConfigureSpec* spec, HX_ClientData clientData, char* value,
                               char* record, int offset);
typedef char* HX_OptionPrintProc(HX_ConfigureSpec* spec, HX_ClientData clientData, char* record,
                                 int offset);

// Parser of a whole option type: 0 on success, -1 on a bad value, and
// HX_TYPE_NOT_MINE (3) for a type it does not handle.
typedef int HX_TypeParseProc(HX_ConfigureSpec* spec, char* value, char* record);
// Printer of a whole option type: a malloc'd string, or null for a type it
// does not handle.
typedef char* HX_TypePrintProc(HX_ConfigureSpec* spec, char* record);

struct HX_CustomOption {
    HX_OptionParseProc* parseProc; // null for a print-only option
    HX_OptionPrintProc* printProc; // null for a write-only option
    HX_ClientData clientData;
};

struct HX_ConfigureSpec {
    const char* type; // "int", "double", "boolean", "string", "ptr", "custom", ... or "end"
    const char* name;
    const char* defValue; // null: no default
    int offset;           // byte offset of the field inside the record
    int specFlags;
    HX_CustomOption* customPtr;
};

// specFlags bits.
enum {
    HX_CONFIGURE_NULL_OK = 1,    // a null or empty value is handed to the parser
    HX_CONFIGURE_NO_DEFAULT = 8, // the default is not applied at installation
    HX_CONFIGURE_CHANGED = 16    // set by a parser that changed the stored value
};

enum { HX_TYPE_NOT_MINE = 3 };

// The unset value that a null "double" stores.
#define HX_UNSET_DOUBLE 2e30

class HXConfigure {
public:
    HXConfigure();
    ~HXConfigure();
    HXConfigure(const HXConfigure&) = delete;
    HXConfigure& operator=(const HXConfigure&) = delete;

    // Installs a table bound to record, then applies its defaults (rows with
    // HX_CONFIGURE_NO_DEFAULT and rows without a default are skipped).
    // Returns 0, or -1 when a default could not be applied.
    int setConfigureSpecs(HX_ConfigureSpec* specs, char* record, const char* class_name);

    // Registers the parser (and optionally the printer) of a type name.
    int addTypeParser(const char* type, HX_TypeParseProc* parser);
    int addTypePrinter(const char* type, HX_TypePrintProc* printer);

    // Sets options from a null-terminated list of name and value pairs:
    // configure("fill", "white", "mleft", "40", (char*)0). A "ptr" value is
    // the pointer itself. Returns -1 when a name is unknown or a value was
    // refused (the error register holds the reason), else 0. Pairs before
    // the failing one stay applied; the rest are not.
    int configure(const char* name, ...);

    // The same with an argument vector of alternating names and values.
    int configure(int argc, char** argv);

    // The current value of an option as a malloc'd string in the form that
    // configure accepts, or null (with a registered error) for an unknown
    // option or one that cannot be printed.
    char* printConfigValue(const char* name);

    // The names of every installed option in installation order, "end" rows
    // excluded; the strings belong to the tables. Free with freetbl(t, 0).
    Tbl* optionNames();

    // The row of an option and the record it is bound to, or null.
    HX_ConfigureSpec* findSpec(const char* name, char** record = nullptr);

    Arr* configure_specs_arr; // installed tables, in installation order
    Arr* type_parsers_arr;    // HX_TypeParseProc* by type name
    Arr* type_printers_arr;   // HX_TypePrintProc* by type name

private:
    int setOne(const char* name, char* value);
    int applyValue(HX_ConfigureSpec* spec, char* value, char* record);
};

#endif
