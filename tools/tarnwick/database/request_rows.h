#pragma once

#include "database/row_texts.h"
#include "database/sqlite.h"
#include "print/masks.h"
#include "requests/whole_request.h"

#include <tarnwick/data/php/stack_trace.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace tarnwick::program {

/// Inserts the rows of requests into the tables.
class RequestRows {
public:
    /// REQUIRES: the database has the tables, and outlives this object.
    RequestRows(Database const &database, Masks const &masks);

    /// Inserts a request. `key`: that of its row; a new one if absent.
    void insert(WholeRequest const &request, std::optional<std::int64_t> key = {});

private:
    /// What is computed from the text of a statement.
    struct Shape {
        std::string statement;
        std::string word;
    };

    void insert_request(WholeRequest const &request, std::optional<std::int64_t> key);
    template <class Headers>
    void insert_headers(RequestRecords const &records, std::string_view direction, std::string_view record);
    void insert_superglobals(RequestRecords const &records);
    template <class Body>
    void insert_bodies(RequestRecords const &records, std::string_view direction);
    void insert_errors(RequestRecords const &records);
    void insert_events(RequestRecords const &records);
    void insert_functions(RequestRecords const &records);
    void insert_sql_tables(RequestRecords const &records);
    void insert_statements(RequestRecords const &records);
    void insert_storage(RequestRecords const &records);
    void insert_frames(std::string_view owner, std::int64_t position,
                       std::optional<data::php::StackTrace> const &trace);
    Shape shape_of(QString const &text);

    Database const &database_;
    Masks masks_;
    RowTexts texts_;
    std::int64_t key_ = 0;                          ///< of the current request
    std::unordered_map<std::string, Shape> shapes_; ///< of repeated statements, by their text
    Statement requests_;
    Statement headers_;
    Statement superglobals_;
    Statement bodies_;
    Statement errors_;
    Statement events_;
    Statement functions_;
    Statement connections_;
    Statement transactions_;
    Statement statements_;
    Statement frames_;
    Statement storage_;
};

} // namespace tarnwick::program
