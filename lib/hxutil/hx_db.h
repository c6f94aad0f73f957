// Database row pointers of the event-database layer.
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

#endif
