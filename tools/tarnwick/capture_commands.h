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

/// The options that choose reports, records and requests, as they are written.
struct ChoiceOptions {
    std::vector<std::string> records;
    std::vector<std::string> conditions;
    std::vector<std::string> columns;
    std::string sort;
};

struct DiffArguments {
    std::vector<std::string> places;
    std::vector<std::string> limits;
    std::vector<std::string> conditions;
    DiffDialectsOptions dialects;
};

struct QueryArguments {
    std::vector<std::string> words; ///< the query and the files
    ChoiceOptions choice;
};

/// The options of the commands that read captures.
struct CaptureCommands {
    InspectOptions inspect;
    ChoiceOptions inspect_choice;
    LsOptions ls;
    ChoiceOptions ls_choice;
    ShowOptions show;
    ChoiceOptions show_choice;
    StatementsOptions statements;
    ChoiceOptions statements_choice;
    DiffOptions diff;
    DiffArguments diff_arguments;
    ReportOptions report;
    ChoiceOptions report_choice;
    RecoverOptions recover;
    ExportOptions export_options;
    ChoiceOptions export_choice;
    QueryOptions query;
    QueryArguments query_arguments;
    JsonStyle schema;
};

/// Adds the commands that read captures, and `schema`. Parsing sets `options` and `command`.
void add_capture_commands(CLI::App &app, CaptureCommands &options, Command &command);

} // namespace tarnwick::program
