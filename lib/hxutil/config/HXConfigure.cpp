#include "HXConfigure.h"

#include "hx_error.h"
#include "hx_strings.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// One installed table and the record its offsets refer to.
struct InstalledTable {
    HX_ConfigureSpec* specs;
    char* record;
    char* class_name;
};

bool isEnd(const HX_ConfigureSpec* spec)
{
    return !spec->type || strcmp(spec->type, "end") == 0;
}

bool isEmpty(const char* value)
{
    return !value || !*value;
}

bool hasType(const HX_ConfigureSpec* spec, const char* type)
{
    return strcmp(spec->type, type) == 0;
}

void freeInstalledTable(void* p)
{
    InstalledTable* t = static_cast<InstalledTable*>(p);
    free(t->class_name);
    delete t;
}

// Reads the whole of value as an int: strtol base 0, blanks around allowed.
bool readInt(const char* value, int* out)
{
    char* end = nullptr;
    errno = 0;
    long v = strtol(value, &end, 0);
    if (end == value)
        return false;
    while (*end == ' ' || *end == '\t')
        ++end;
    if (*end || errno == ERANGE || v < INT_MIN || v > INT_MAX)
        return false;
    *out = static_cast<int>(v);
    return true;
}

bool readDouble(const char* value, double* out)
{
    char* end = nullptr;
    double v = fix_strtod(value, &end);
    if (end == value)
        return false;
    while (*end == ' ' || *end == '\t')
        ++end;
    if (*end)
        return false;
    *out = v;
    return true;
}

// Stores a field of type T and reports whether its value changed.
template <typename T> bool storeField(char* record, int offset, T value)
{
    T old;
    memcpy(&old, record + offset, sizeof old);
    memcpy(record + offset, &value, sizeof value);
    return memcmp(&old, &value, sizeof value) != 0;
}

template <typename T> T loadField(const char* record, int offset)
{
    T value;
    memcpy(&value, record + offset, sizeof value);
    return value;
}

int refuse(const HX_ConfigureSpec* spec, const char* what, const char* value)
{
    hx_register_error(HX_ERROR_INPUT, "HXConfigure::configure: Cannot read '%s' as %s for %s.\n",
                      value ? value : "", what, spec->name);
    return -1;
}

// The engine's own conversions store the field and answer 1 when its value
// changed, 0 when it did not, and -1 for a bad value.
int convertString(const HX_ConfigureSpec* spec, char* value, char* record)
{
    if (!value && !(spec->specFlags & HX_CONFIGURE_NULL_OK))
        return refuse(spec, "a string", value);
    char* copy = value ? strdup(value) : nullptr;
    if (value && !copy) {
        hx_register_error(HX_ERROR_ALLOC, "HXConfigure::configure: strdup() error for %s.\n",
                          spec->name);
        return -1;
    }
    char* old = loadField<char*>(record, spec->offset);
    bool changed = old != copy && (!old || !copy || strcmp(old, copy) != 0);
    free(old);
    storeField(record, spec->offset, copy);
    return changed;
}

int convertPtr(const HX_ConfigureSpec* spec, char* value, char* record)
{
    if (!value && !(spec->specFlags & HX_CONFIGURE_NULL_OK))
        return refuse(spec, "a pointer", value);
    return storeField<void*>(record, spec->offset, value);
}

// Numbers and booleans: an empty value stores unsetValue when the row allows
// it; otherwise read() must accept the whole text.
template <typename T, typename Read>
int convertNumber(const HX_ConfigureSpec* spec, char* value, char* record, const char* noun,
                  T unsetValue, Read read)
{
    T v = unsetValue;
    if (isEmpty(value) ? !(spec->specFlags & HX_CONFIGURE_NULL_OK) : !read(value, &v))
        return refuse(spec, noun, value);
    return storeField(record, spec->offset, v);
}

bool readBoolean(const char* value, int* out)
{
    *out = HX_ParseBoolean(value);
    return *out >= 0;
}

// Returns as the conversions above do, or -2 for a type it does not know.
int convertBuiltin(const HX_ConfigureSpec* spec, char* value, char* record)
{
    if (hasType(spec, "string"))
        return convertString(spec, value, record);
    if (hasType(spec, "ptr"))
        return convertPtr(spec, value, record);
    if (hasType(spec, "int"))
        return convertNumber(spec, value, record, "an int", 0, readInt);
    if (hasType(spec, "double"))
        return convertNumber(spec, value, record, "a double", HX_UNSET_DOUBLE, readDouble);
    if (hasType(spec, "boolean"))
        return convertNumber(spec, value, record, "a boolean", 0, readBoolean);
    return -2;
}

char* printDouble(double v)
{
    char buf[64];
    snprintf(buf, sizeof buf, "%.15g", v);
    if (fix_strtod(buf, nullptr) != v)
        snprintf(buf, sizeof buf, "%.17g", v);
    return strdup(buf);
}

char* printBuiltin(const HX_ConfigureSpec* spec, const char* record)
{
    char buf[64];
    const int offset = spec->offset;
    if (hasType(spec, "string")) {
        const char* s = loadField<char*>(record, offset);
        return strdup(s ? s : "");
    }
    if (hasType(spec, "int")) {
        snprintf(buf, sizeof buf, "%d", loadField<int>(record, offset));
        return strdup(buf);
    }
    if (hasType(spec, "double")) {
        double v = loadField<double>(record, offset);
        if (v == HX_UNSET_DOUBLE && (spec->specFlags & HX_CONFIGURE_NULL_OK))
            return strdup("");
        return printDouble(v);
    }
    if (hasType(spec, "boolean"))
        return strdup(loadField<int>(record, offset) ? "yes" : "no");
    if (hasType(spec, "ptr")) {
        void* p = loadField<void*>(record, offset);
        if (!p)
            return strdup("");
        snprintf(buf, sizeof buf, "%p", p);
        return strdup(buf);
    }
    return nullptr;
}

} // namespace

HXConfigure::HXConfigure()
    : configure_specs_arr(newarr(nullptr)), type_parsers_arr(newarr(nullptr)),
      type_printers_arr(newarr(nullptr))
{
}

HXConfigure::~HXConfigure()
{
    freearr(configure_specs_arr, freeInstalledTable);
    freearr(type_parsers_arr, nullptr);
    freearr(type_printers_arr, nullptr);
}

int HXConfigure::setConfigureSpecs(HX_ConfigureSpec* specs, char* record, const char* class_name)
{
    if (!specs || !record || !configure_specs_arr) {
        hx_register_error(HX_ERROR_INPUT, "HXConfigure::setConfigureSpecs: no table for '%s'.\n",
                          class_name ? class_name : "");
        return -1;
    }
    // Keys number the tables so that the sorted array lists them in the
    // order of installation.
    char key[32];
    snprintf(key, sizeof key, "%08d", cntarr(configure_specs_arr));
    InstalledTable* table =
        new (std::nothrow) InstalledTable{specs, record, strdup(class_name ? class_name : "")};
    if (!table || !table->class_name) {
        if (table)
            freeInstalledTable(table);
        hx_register_error(HX_ERROR_ALLOC, "HXConfigure::setConfigureSpecs: malloc() error.\n");
        return -1;
    }
    setarr(configure_specs_arr, key, table);

    int result = 0;
    for (HX_ConfigureSpec* spec = specs; !isEnd(spec); ++spec) {
        if (!spec->defValue || (spec->specFlags & HX_CONFIGURE_NO_DEFAULT))
            continue;
        if (applyValue(spec, const_cast<char*>(spec->defValue), record) < 0) {
            hx_register_error(HX_ERROR_INPUT,
                              "HXConfigure::setConfigureSpecs: bad default '%s' for %s of %s.\n",
                              spec->defValue, spec->name, table->class_name);
            result = -1;
        }
    }
    return result;
}

int HXConfigure::addTypeParser(const char* type, HX_TypeParseProc* parser)
{
    if (!type || !type_parsers_arr)
        return -1;
    setarr(type_parsers_arr, type, reinterpret_cast<void*>(parser));
    return 0;
}

int HXConfigure::addTypePrinter(const char* type, HX_TypePrintProc* printer)
{
    if (!type || !type_printers_arr)
        return -1;
    setarr(type_printers_arr, type, reinterpret_cast<void*>(printer));
    return 0;
}

HX_ConfigureSpec* HXConfigure::findSpec(const char* name, char** record)
{
    if (!name || !configure_specs_arr)
        return nullptr;
    Tbl* keys = keysarr(configure_specs_arr);
    HX_ConfigureSpec* found = nullptr;
    for (int i = 0; !found && i < maxtbl(keys); ++i) {
        auto* table = static_cast<InstalledTable*>(
            getarr(configure_specs_arr, static_cast<const char*>(gettbl(keys, i))));
        for (HX_ConfigureSpec* spec = table->specs; !isEnd(spec); ++spec) {
            if (spec->name && strcmp(spec->name, name) == 0) {
                found = spec;
                if (record)
                    *record = table->record;
                break;
            }
        }
    }
    freetbl(keys, nullptr);
    return found;
}

Tbl* HXConfigure::optionNames()
{
    Tbl* names = newtbl(0);
    Tbl* keys = keysarr(configure_specs_arr);
    for (int i = 0; names && i < maxtbl(keys); ++i) {
        auto* table = static_cast<InstalledTable*>(
            getarr(configure_specs_arr, static_cast<const char*>(gettbl(keys, i))));
        for (HX_ConfigureSpec* spec = table->specs; !isEnd(spec); ++spec)
            settbl(names, -1, const_cast<char*>(spec->name));
    }
    freetbl(keys, nullptr);
    return names;
}

int HXConfigure::applyValue(HX_ConfigureSpec* spec, char* value, char* record)
{
    if (hasType(spec, "custom")) {
        if (!spec->customPtr || !spec->customPtr->parseProc) {
            hx_register_error(HX_ERROR_INPUT,
                              "HXConfigure::configure: option '%s' cannot be set.\n", spec->name);
            return -1;
        }
        return spec->customPtr->parseProc(spec, spec->customPtr->clientData, value, record,
                                          spec->offset) < 0
                   ? -1
                   : 0;
    }
    auto* parser = reinterpret_cast<HX_TypeParseProc*>(getarr(type_parsers_arr, spec->type));
    if (parser) {
        int r = parser(spec, value, record);
        if (r != HX_TYPE_NOT_MINE)
            return r < 0 ? -1 : 0;
    }
    int r = convertBuiltin(spec, value, record);
    if (r == -2) {
        hx_register_error(HX_ERROR_INPUT, "HXConfigure::configure: unknown type '%s' of %s.\n",
                          spec->type, spec->name);
        return -1;
    }
    if (r == 1)
        spec->specFlags |= HX_CONFIGURE_CHANGED;
    return r < 0 ? -1 : 0;
}

int HXConfigure::setOne(const char* name, char* value)
{
    char* record = nullptr;
    HX_ConfigureSpec* spec = findSpec(name, &record);
    if (!spec) {
        hx_register_error(HX_ERROR_INPUT, "HXConfigure::configure: unknown option '%s'.\n",
                          name ? name : "");
        return -1;
    }
    return applyValue(spec, value, record);
}

int HXConfigure::configure(const char* name, ...)
{
    va_list args;
    va_start(args, name);
    int result = 0;
    for (const char* n = name; n; n = va_arg(args, const char*)) {
        char* value = va_arg(args, char*);
        if (setOne(n, value) < 0) {
            result = -1;
            break;
        }
    }
    va_end(args);
    return result;
}

int HXConfigure::configure(int argc, char** argv)
{
    if (argc < 0 || (argc > 0 && !argv))
        return -1;
    for (int i = 0; i < argc; i += 2) {
        if (i + 1 >= argc) {
            hx_register_error(HX_ERROR_INPUT, "HXConfigure::configure: no value for '%s'.\n",
                              argv[i] ? argv[i] : "");
            return -1;
        }
        if (setOne(argv[i], argv[i + 1]) < 0)
            return -1;
    }
    return 0;
}

char* HXConfigure::printConfigValue(const char* name)
{
    char* record = nullptr;
    HX_ConfigureSpec* spec = findSpec(name, &record);
    if (!spec) {
        hx_register_error(HX_ERROR_INPUT, "HXConfigure::printConfigValue: unknown option '%s'.\n",
                          name ? name : "");
        return nullptr;
    }
    char* text = nullptr;
    if (hasType(spec, "custom")) {
        if (spec->customPtr && spec->customPtr->printProc)
            text =
                spec->customPtr->printProc(spec, spec->customPtr->clientData, record, spec->offset);
    } else if (auto* printer =
                   reinterpret_cast<HX_TypePrintProc*>(getarr(type_printers_arr, spec->type))) {
        text = printer(spec, record);
    }
    if (!text && !hasType(spec, "custom"))
        text = printBuiltin(spec, record);
    if (!text)
        hx_register_error(HX_ERROR_INPUT,
                          "HXConfigure::printConfigValue: option '%s' cannot be printed.\n", name);
    return text;
}
