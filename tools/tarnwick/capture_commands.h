#pragma once

#include "command_options.h"
#include "diff.h"
#include "diff_dialects.h"
#include "export.h"
#include "inspect.h"
#include "ls.h"
#include "print/json_writer.h"
#include "query.h"
#include "recover.h"
#include "report.h"
#include "show.h"
#include "statements.h"

#include <string>
#include <vector>

namespace tarnwick::program {

/// Options of `inspect`, as they are written.
struct InspectArguments {
    std::vector<std::string> records;
    std::vector<std::string> conditions;
};

struct DiffArguments {
    std::vector<std::string> places;
    std::vector<std::string> limits;
    DiffDialectsOptions dialects;
};

/// The options of the commands that read captures.
struct CaptureCommands {
    InspectOptions inspect;
    InspectArguments inspect_arguments;
    LsOptions ls;
    ShowOptions show;
    StatementsOptions statements;
    DiffOptions diff;
    DiffArguments diff_arguments;
    ReportOptions report;
    RecoverOptions recover;
    ExportOptions export_options;
    QueryOptions query;
    std::vector<std::string> query_words; ///< the query and the files
    JsonStyle schema;
};

/// Adds the commands that read captures, and `schema`. Parsing sets `options` and `command`.
void add_capture_commands(CLI::App &app, CaptureCommands &options, Command &command);

} // namespace tarnwick::program
