// Parameter files: compiling the text into a tree of Pf nodes, and reading
// typed values back out of it.
#include "hx_pf.h"
#include "hx_error.h"
#include "hx_strings.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <strings.h>
#include <vector>

// One node of a compiled tree. Only the member matching type is used; the
// values of arr and the elements of tbl are child Pf* nodes owned here.
struct Pf {
    int type = 0;
    char* string = nullptr;
    Arr* arr = nullptr;
    Tbl* tbl = nullptr;
};

namespace {

void free_node(void* node)
{
    pffree(static_cast<Pf*>(node));
}

// Nodes are built on the normal C++ path; running out of memory anywhere
// throws std::bad_alloc, which pfcompile turns into an error.
Pf* new_node(int type)
{
    Pf* node = new Pf;
    node->type = type;
    if (type == PFARR)
        node->arr = newarr(nullptr);
    else if (type == PFTBL)
        node->tbl = newtbl(0);
    if ((type == PFARR && !node->arr) || (type == PFTBL && !node->tbl)) {
        delete node;
        throw std::bad_alloc();
    }
    return node;
}

Pf* new_string_node(std::string_view text)
{
    Pf* node = new_node(PFSTRING);
    node->string = static_cast<char*>(std::malloc(text.size() + 1));
    if (!node->string) {
        delete node;
        throw std::bad_alloc();
    }
    std::memcpy(node->string, text.data(), text.size());
    node->string[text.size()] = '\0';
    return node;
}

// Blanks separate keys from values and are trimmed from both ends of lines.
constexpr std::string_view blanks = " \t\r";

bool is_blank(char c)
{
    return blanks.find(c) != std::string_view::npos;
}

// Where the first word of s ends (npos when s is a single word).
size_t first_word_end(std::string_view s)
{
    return s.find_first_of(blanks);
}

std::string_view trim(std::string_view s)
{
    size_t begin = 0, end = s.size();
    while (begin < end && is_blank(s[begin]))
        begin++;
    while (end > begin && is_blank(s[end - 1]))
        end--;
    return s.substr(begin, end - begin);
}

// Long offending texts are cut short so that a message stays readable.
std::string excerpt(std::string_view s)
{
    constexpr size_t limit = 60;
    if (s.size() <= limit)
        return std::string(s);
    return std::string(s.substr(0, limit)) + "...";
}

// '#' starts a comment; "\#" stands for a literal '#'. Other backslashes
// are ordinary characters.
std::string strip_comment(std::string_view line)
{
    std::string out;
    for (size_t i = 0; i < line.size(); i++) {
        if (line[i] == '#')
            break;
        if (line[i] == '\\' && i + 1 < line.size() && line[i + 1] == '#')
            i++;
        out += line[i];
    }
    return out;
}

// Tab and CR are the only control characters a line may hold (LF ends it).
int find_control_character(std::string_view line)
{
    for (unsigned char c : line)
        if ((c < 0x20 && c != '\t' && c != '\r') || c == 0x7f)
            return c;
    return -1;
}

enum class ValueKind { String, OpenArr, OpenTbl, Malformed };

// A value that looks like an opener ("&Word{...", "&Arr...", "&Tbl...") must
// be exactly "&Arr{" or "&Tbl{"; anything else starting with '&' is text.
ValueKind classify_value(std::string_view value)
{
    if (value == "&Arr{")
        return ValueKind::OpenArr;
    if (value == "&Tbl{")
        return ValueKind::OpenTbl;
    if (value.empty() || value[0] != '&')
        return ValueKind::String;
    size_t i = 1;
    while (i < value.size() && std::isalpha(static_cast<unsigned char>(value[i])))
        i++;
    const std::string_view word = value.substr(1, i - 1);
    const bool brace = i < value.size() && value[i] == '{';
    return (brace || word == "Arr" || word == "Tbl") ? ValueKind::Malformed : ValueKind::String;
}

// Builds the tree line by line. Open arrays and lists live on an explicit
// stack, so the depth of the input never reaches the C stack.
class Compiler {
public:
    // Returns the root array, or null after registering an error.
    Pf* compile(const char* text);

private:
    struct Open {
        Pf* node;
        int line; // where it was opened
    };

    bool compile_line(std::string_view content);
    bool close();
    bool add_to_array(std::string_view content);
    Pf* make_value(std::string_view value);
    bool attach(Pf* parent, const char* key, Pf* child);
    bool fail_unclosed();

    std::vector<Open> open_;
    int line_ = 0;
};

Pf* Compiler::compile(const char* text)
{
    Pf* root = new_node(PFARR);
    try {
        open_.push_back({root, 0});
        std::string_view rest(text);
        bool ok = true;
        while (ok && !rest.empty()) {
            const size_t newline = rest.find('\n');
            const std::string_view line = rest.substr(0, newline);
            rest =
                newline == std::string_view::npos ? std::string_view() : rest.substr(newline + 1);
            line_++;
            const int bad = find_control_character(line);
            if (bad >= 0) {
                hx_register_error(HX_ERROR_INPUT,
                                  "pfcompile: line %d: control character '\\x%02x'\n", line_, bad);
                ok = false;
            } else {
                ok = compile_line(trim(strip_comment(line)));
            }
        }
        if (ok && open_.size() > 1)
            ok = fail_unclosed();
        if (ok)
            return root;
    } catch (...) {
        pffree(root);
        throw;
    }
    pffree(root);
    return nullptr;
}

bool Compiler::compile_line(std::string_view content)
{
    if (content.empty())
        return true;
    if (content == "}")
        return close();
    const std::string_view first = content.substr(0, first_word_end(content));
    if (first == "}") {
        hx_register_error(HX_ERROR_INPUT, "pfcompile: line %d: text after '}': '%s'\n", line_,
                          excerpt(content).c_str());
        return false;
    }
    Pf* top = open_.back().node;
    if (top->type == PFARR)
        return add_to_array(content);
    Pf* element = make_value(content);
    return element && attach(top, nullptr, element);
}

bool Compiler::close()
{
    if (open_.size() == 1) {
        hx_register_error(HX_ERROR_INPUT, "pfcompile: line %d: '}' with nothing open\n", line_);
        return false;
    }
    open_.pop_back();
    return true;
}

bool Compiler::add_to_array(std::string_view content)
{
    const size_t key_end = first_word_end(content);
    const std::string_view key = content.substr(0, key_end);
    const std::string_view value =
        key_end == std::string_view::npos ? std::string_view() : trim(content.substr(key_end));
    if (value.empty()) {
        hx_register_error(HX_ERROR_INPUT, "pfcompile: line %d: missing value for '%s'\n", line_,
                          excerpt(key).c_str());
        return false;
    }
    const std::string name(key); // before the node exists, so nothing leaks if this throws
    Pf* node = make_value(value);
    return node && attach(open_.back().node, name.c_str(), node);
}

// A new node for value: a string, or an empty array or list that becomes the
// innermost open one once attached.
Pf* Compiler::make_value(std::string_view value)
{
    const ValueKind kind = classify_value(value);
    if (kind == ValueKind::String)
        return new_string_node(value);
    if (kind == ValueKind::Malformed) {
        hx_register_error(HX_ERROR_INPUT,
                          "pfcompile: line %d: malformed value '%s': write '&Arr{' or '&Tbl{' "
                          "alone at the end of the line\n",
                          line_, excerpt(value).c_str());
        return nullptr;
    }
    if (open_.size() > HX_PF_MAX_DEPTH) {
        hx_register_error(HX_ERROR_INPUT, "pfcompile: line %d: nesting deeper than %d levels\n",
                          line_, static_cast<int>(HX_PF_MAX_DEPTH));
        return nullptr;
    }
    return new_node(kind == ValueKind::OpenArr ? PFARR : PFTBL);
}

// Hands child to parent (under key for an array; appended for a list) and
// opens it when it is an array or list. A replaced value is freed.
bool Compiler::attach(Pf* parent, const char* key, Pf* child)
{
    if (parent->type == PFARR) {
        Pf* old = static_cast<Pf*>(setarr(parent->arr, key, child));
        // setarr reports a failed store only through the register.
        if (getarr(parent->arr, key) != child) {
            pffree(child);
            throw std::bad_alloc();
        }
        pffree(old);
    } else if (settbl(parent->tbl, -1, child) < 0) {
        pffree(child);
        throw std::bad_alloc();
    }
    if (child->type != PFSTRING)
        open_.push_back({child, line_});
    return true;
}

bool Compiler::fail_unclosed()
{
    const Open& innermost = open_.back();
    hx_register_error(HX_ERROR_INPUT, "pfcompile: line %d: '%s' is never closed\n", innermost.line,
                      innermost.node->type == PFARR ? "&Arr{" : "&Tbl{");
    return false;
}

} // namespace

int pfcompile(const char* text, Pf** pf)
{
    if (pf)
        *pf = nullptr;
    if (!text || !pf) {
        hx_register_error(HX_ERROR_INPUT, "pfcompile: null %s\n", text ? "result pointer" : "text");
        return -1;
    }
    try {
        Compiler compiler;
        *pf = compiler.compile(text);
    } catch (const std::bad_alloc&) {
        hx_register_error(HX_ERROR_ALLOC, "pfcompile: out of memory\n");
    }
    return *pf ? 0 : -1;
}

void pffree(Pf* pf)
{
    if (!pf)
        return;
    std::free(pf->string);
    freearr(pf->arr, free_node);
    freetbl(pf->tbl, free_node);
    delete pf;
}

int pftype(const Pf* pf)
{
    return pf ? pf->type : -1;
}

const char* pfstring(const Pf* pf)
{
    return pf && pf->type == PFSTRING ? pf->string : nullptr;
}

Arr* pfarr(Pf* pf)
{
    return pf && pf->type == PFARR ? pf->arr : nullptr;
}

Tbl* pftbl(Pf* pf)
{
    return pf && pf->type == PFTBL ? pf->tbl : nullptr;
}

int pfget(Pf* pf, const char* name, Pf** value)
{
    Pf* child = nullptr;
    if (pf && pf->type == PFARR && name)
        child = static_cast<Pf*>(getarr(pf->arr, name));
    if (value)
        *value = child;
    return child ? child->type : -1;
}

Tbl* pfkeys(Pf* pf)
{
    return pf && pf->type == PFARR ? keysarr(pf->arr) : nullptr;
}

namespace {

bool is_known_type(int type)
{
    return type > 0 && type < 256 && std::strchr("Psdfbat", type);
}

// The string of node, or null after registering that name is not a string.
const char* string_value(const Pf* node, const char* name)
{
    if (node->type != PFSTRING)
        hx_register_error(HX_ERROR_INPUT, "parse_param: '%s' is not a string\n", name);
    return pfstring(node);
}

int cannot_read(const char* text, const char* what, const char* name)
{
    hx_register_error(HX_ERROR_INPUT, "parse_param: cannot read '%s' as %s for '%s'\n", text, what,
                      name);
    return -1;
}

int read_string(const Pf* node, const char* name, char** value)
{
    const char* text = string_value(node, name);
    if (!text)
        return -1;
    char* copy = strdup(text);
    if (!copy) {
        hx_register_error(HX_ERROR_ALLOC, "parse_param: out of memory copying '%s'\n", name);
        return -1;
    }
    *value = copy;
    return 0;
}

int read_integer(const Pf* node, const char* name, int* value)
{
    const char* text = string_value(node, name);
    if (!text)
        return -1;
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(text, &end, 0);
    if (end == text || *end != '\0' || errno == ERANGE || number < INT_MIN || number > INT_MAX)
        return cannot_read(text, "an integer", name);
    *value = static_cast<int>(number);
    return 0;
}

// An infinite result is only accepted when the text spells it out, so that
// overflow ("1e999") is refused whether or not the reader sets errno.
bool names_infinity(const char* text)
{
    for (const char* s = text; *s; s++)
        if (strncasecmp(s, "inf", 3) == 0)
            return true;
    return false;
}

int read_number(const Pf* node, const char* name, double* value)
{
    const char* text = string_value(node, name);
    if (!text)
        return -1;
    char* end = nullptr;
    const double number = fix_strtod(text, &end);
    if (!end || end == text || *end != '\0' || (std::isinf(number) && !names_infinity(text)))
        return cannot_read(text, "a number", name);
    *value = number;
    return 0;
}

int read_boolean(const Pf* node, const char* name, int* value)
{
    const char* text = string_value(node, name);
    if (!text)
        return -1;
    const int flag = HX_ParseBoolean(text);
    if (flag < 0)
        return cannot_read(text, "a boolean", name);
    *value = flag;
    return 0;
}

int read_container(const Pf* node, const char* name, int type, void* value)
{
    if (type == 'a') {
        if (node->type != PFARR) {
            hx_register_error(HX_ERROR_INPUT, "parse_param: '%s' is not an array\n", name);
            return -1;
        }
        *static_cast<Arr**>(value) = node->arr;
    } else {
        if (node->type != PFTBL) {
            hx_register_error(HX_ERROR_INPUT, "parse_param: '%s' is not a list\n", name);
            return -1;
        }
        *static_cast<Tbl**>(value) = node->tbl;
    }
    return 0;
}

} // namespace

int parse_param(Pf* pf, const char* name, int type, int required, void* value)
{
    if (!name || !value) {
        hx_register_error(HX_ERROR_INPUT, "parse_param: null %s\n",
                          name ? "value pointer" : "name");
        return -1;
    }
    if (!is_known_type(type)) {
        hx_register_error(HX_ERROR_INPUT, "parse_param: unknown type code %d for '%s'\n", type,
                          name);
        return -1;
    }
    Pf* node = nullptr;
    if (pfget(pf, name, &node) < 0) {
        if (!required)
            return 1;
        hx_register_error(HX_ERROR_INPUT, "parse_param: '%s' not found\n", name);
        return -1;
    }
    switch (type) {
    case 'P':
        *static_cast<Pf**>(value) = node;
        return 0;
    case 's':
        return read_string(node, name, static_cast<char**>(value));
    case 'd':
        return read_integer(node, name, static_cast<int*>(value));
    case 'f':
        return read_number(node, name, static_cast<double*>(value));
    case 'b':
        return read_boolean(node, name, static_cast<int*>(value));
    default:
        return read_container(node, name, type, value);
    }
}
