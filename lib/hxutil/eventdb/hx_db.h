// Database row pointers of the event-database layer.
//
// A Dbptr names one row of a table held by a row source (an event view):
// database is the source's index, table and record address the row inside
// it. dbgetv reads named fields of such a row.
#ifndef HX_DB_H
#define HX_DB_H

// Marks a pointer part that addresses nothing.
enum { HX_DB_INVALID = -102 };

struct Dbptr {
    int database;
    int table;
    int field;
    int record;
};

// A pointer to nothing: every part is HX_DB_INVALID.
Dbptr dbinvalid();

// Types of field values.
enum { HX_DB_REAL = 1, HX_DB_INTEGER = 2, HX_DB_STRING = 3 };

// Longest string field, with its terminating null.
enum { HX_DB_STRING_MAX = 64 };

struct HXDbValue {
    int type;
    double real;
    long integer;
    char string[HX_DB_STRING_MAX];
};

// A holder of rows that dbgetv can read.
class HXDbSource {
public:
    virtual ~HXDbSource() = default;
    // Fills *value with the field of the row db points at (table, when not
    // null, must name the row's table). Returns 0, or -1 with a registered
    // error.
    virtual int dbvalue(const Dbptr& db, const char* table, const char* field,
                        HXDbValue* value) = 0;
};

// Makes a source readable through Dbptrs; returns its database index.
int hx_db_attach(HXDbSource* source);
// Forgets a source; pointers into it become invalid.
void hx_db_detach(int database);

// Reads fields of the row db points at: pairs of a field name and a pointer
// ending with a null name. Real fields are stored through double*, integer
// fields through long*, strings into char buffers of HX_DB_STRING_MAX bytes.
//   dbgetv(mt, "mt", "tmrr", &mrr, "tmtt", &mtt, (char*)0)
// Returns 0, or -1 with a registered error (fields before the failing one
// are stored).
int dbgetv(Dbptr db, const char* table, ...);

#endif
