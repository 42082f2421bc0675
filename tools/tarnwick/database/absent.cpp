// In place of the sources that need SQLite, in a build without it.

#include "export.h"
#include "query.h"
#include "standard_error.h"

namespace tarnwick::program {
namespace {

ExitStatus refuse_database()
{
    print_error("tarnwick: this program was built without SQLite (TARNWICK_SQLITE=OFF)\n");
    return wrong_usage;
}

} // namespace

ExitStatus export_requests(ExportOptions const & /*options*/)
{
    return refuse_database();
}

ExitStatus query(QueryOptions const & /*options*/)
{
    return refuse_database();
}

} // namespace tarnwick::program
