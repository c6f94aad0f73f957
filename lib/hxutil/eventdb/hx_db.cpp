#include "hx_db.h"

#include "hx_error.h"

#include <cstdarg>
#include <cstring>
#include <mutex>
#include <vector>

namespace {

std::mutex sources_mutex;
std::vector<HXDbSource*> sources; // by database index; null when detached

HXDbSource* sourceOf(int database)
{
    std::lock_guard<std::mutex> lock(sources_mutex);
    if (database < 0 || database >= (int)sources.size())
        return nullptr;
    return sources[database];
}

void store(const HXDbValue& v, void* out)
{
    if (v.type == HX_DB_REAL)
        *(double*)out = v.real;
    else if (v.type == HX_DB_INTEGER)
        *(long*)out = v.integer;
    else
        memcpy(out, v.string, HX_DB_STRING_MAX);
}

} // namespace

Dbptr dbinvalid()
{
    return Dbptr{HX_DB_INVALID, HX_DB_INVALID, HX_DB_INVALID, HX_DB_INVALID};
}

int hx_db_attach(HXDbSource* source)
{
    std::lock_guard<std::mutex> lock(sources_mutex);
    for (size_t i = 0; i < sources.size(); i++)
        if (!sources[i]) {
            sources[i] = source;
            return (int)i;
        }
    sources.push_back(source);
    return (int)sources.size() - 1;
}

void hx_db_detach(int database)
{
    std::lock_guard<std::mutex> lock(sources_mutex);
    if (database >= 0 && database < (int)sources.size())
        sources[database] = nullptr;
}

int dbgetv(Dbptr db, const char* table, ...)
{
    HXDbSource* source = sourceOf(db.database);
    if (!source) {
        hx_register_error(0, "dbgetv: invalid database pointer\n");
        return -1;
    }
    va_list ap;
    va_start(ap, table);
    int status = 0;
    while (const char* field = va_arg(ap, const char*)) {
        void* out = va_arg(ap, void*);
        HXDbValue value{};
        if (!out || source->dbvalue(db, table, field, &value) < 0) {
            if (!out)
                hx_register_error(0, "dbgetv: no place for field '%s'\n", field);
            status = -1;
            break;
        }
        store(value, out);
    }
    va_end(ap);
    return status;
}
