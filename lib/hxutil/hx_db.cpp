#include "hx_db.h"

Dbptr dbinvalid()
{
    return Dbptr{HX_DB_INVALID, HX_DB_INVALID, HX_DB_INVALID, HX_DB_INVALID};
}
