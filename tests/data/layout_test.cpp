#include <tarnwick/auth/request.h>
#include <tarnwick/auth/session.h>
#include <tarnwick/auth/user.h>
#include <tarnwick/data/records.h>
#include <tarnwick/data/text_writer.h>
#include <tarnwick/pconfig_observer.h>
#include <tarnwick/pconfigfile.h>
#include <tarnwick/pexception.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>

// Sizes and offsets that programs have compiled in, because accessors are inline and lists contain values. A change here
// breaks programs that were built before and requires another SONAME. The sizes are those of 64-bit Linux with libstdc++.

// The standard does not require `offsetof` for derived classes. The supported compilers have it.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace tarnwick::data::layout_test {
namespace {

using monitor::detail::Event;

/// The offset of a member, and the expected one.
template <std::size_t found, std::size_t expected>
struct At {
    static_assert(found == expected);
};

template <class Type, std::size_t size, class... Members>
struct Layout : private Members... {
    static_assert(sizeof(Type) == size);
    static_assert(alignof(Type) <= alignof(void *));
};

// Values in records and in lists.
template struct Layout<TimePair, 16, At<offsetof(TimePair, seconds), 0>, At<offsetof(TimePair, nanos), 8>>;
template struct Layout<php::RequestId, 8, At<offsetof(php::RequestId, id_), 0>>;
template struct Layout<php::SourceLocation, 32, At<offsetof(php::SourceLocation, file_), 0>,
                       At<offsetof(php::SourceLocation, line_), 24>,
                       At<offsetof(php::SourceLocation, line_extra_), 28>>;
template struct Layout<php::Error, 32, At<offsetof(php::Error, category_), 0>, At<offsetof(php::Error, number_), 4>,
                       At<offsetof(php::Error, name_), 8>>;
template struct Layout<php::Exception, 48, At<offsetof(php::Exception, exception_name_), 0>,
                       At<offsetof(php::Exception, exception_text_), 24>>;
template struct Layout<php::Function, 96, At<offsetof(php::Function, name_), 0>, At<offsetof(php::Function, args_), 24>,
                       At<offsetof(php::Function, call_value_), 32>, At<offsetof(php::Function, location_), 48>,
                       At<offsetof(php::Function, frame_number_), 88>>;
template struct Layout<php::StackTrace, 24, At<offsetof(php::StackTrace, frames_), 0>>;
template struct Layout<
    glimmet::FunctionStats, 112, At<offsetof(glimmet::FunctionStats, has_location_), 0>,
    At<offsetof(glimmet::FunctionStats, name_), 8>, At<offsetof(glimmet::FunctionStats, location_), 32>,
    At<offsetof(glimmet::FunctionStats, count_), 72>, At<offsetof(glimmet::FunctionStats, time_first_), 80>,
    At<offsetof(glimmet::FunctionStats, time_second_), 96>>;
template struct Layout<glimmet::SqlError, 24, At<offsetof(glimmet::SqlError, message_), 0>>;
template struct Layout<glimmet::detail::StorageEntry, 48, At<offsetof(glimmet::detail::StorageEntry, name_), 0>,
                       At<offsetof(glimmet::detail::StorageEntry, values_), 24>>;
template struct Layout<
    codetrace::detail::Chunk, 88, At<offsetof(codetrace::detail::Chunk, data_), 0>,
    At<offsetof(codetrace::detail::Chunk, size_), 8>, At<offsetof(codetrace::detail::Chunk, more_), 16>,
    At<offsetof(codetrace::detail::Chunk, has_view_), 17>, At<offsetof(codetrace::detail::Chunk, message_), 24>>;
template struct Layout<Event::FunctionError, 1>;
template struct Layout<Event::SlowFunctionExec, 16, At<offsetof(Event::SlowFunctionExec, duration), 0>>;
template struct Layout<Event::PhpError, 96, At<offsetof(Event::PhpError, error_number), 0>,
                       At<offsetof(Event::PhpError, error_name), 8>, At<offsetof(Event::PhpError, message), 32>,
                       At<offsetof(Event::PhpError, location), 56>>;
template struct Layout<Event::SlowRequest, 16, At<offsetof(Event::SlowRequest, duration), 0>>;
template struct Layout<Event::HighMemoryUsage, 8, At<offsetof(Event::HighMemoryUsage, usage), 0>>;
template struct Layout<Event::CustomEvent, 64, At<offsetof(Event::CustomEvent, text_0), 0>,
                       At<offsetof(Event::CustomEvent, text_1), 24>, At<offsetof(Event::CustomEvent, value), 48>,
                       At<offsetof(Event::CustomEvent, level), 56>>;

// Payloads.
template struct Layout<codetrace::detail::AddData, 104, At<offsetof(codetrace::detail::AddData, request_id_), 8>,
                       At<offsetof(codetrace::detail::AddData, chunk_), 16>>;
template struct Layout<codetrace::detail::Data, 104, At<offsetof(codetrace::detail::Data, request_id_), 8>,
                       At<offsetof(codetrace::detail::Data, chunk_), 16>>;
template struct Layout<codetrace::detail::Header, 64, At<offsetof(codetrace::detail::Header, request_id_), 8>,
                       At<offsetof(codetrace::detail::Header, trace_kind_), 16>,
                       At<offsetof(codetrace::detail::Header, dump_header_), 17>>;
template struct Layout<glimmet::detail::Functions, 40, At<offsetof(glimmet::detail::Functions, request_id_), 8>,
                       At<offsetof(glimmet::detail::Functions, functions_), 16>>;
template struct Layout<glimmet::detail::SqlConnection, 40, At<offsetof(glimmet::detail::SqlConnection, id_), 4>,
                       At<offsetof(glimmet::detail::SqlConnection, kind_), 8>,
                       At<offsetof(glimmet::detail::SqlConnection, name_), 16>>;
template struct Layout<glimmet::detail::SqlQueries, 88, At<offsetof(glimmet::detail::SqlQueries, request_id_), 8>,
                       At<offsetof(glimmet::detail::SqlQueries, connections_), 16>,
                       At<offsetof(glimmet::detail::SqlQueries, transactions_), 40>,
                       At<offsetof(glimmet::detail::SqlQueries, queries_), 64>>;
template struct Layout<
    glimmet::detail::SqlQuery, 152, At<offsetof(glimmet::detail::SqlQuery, kind_), 4>,
    At<offsetof(glimmet::detail::SqlQuery, source_kind_), 5>, At<offsetof(glimmet::detail::SqlQuery, text_), 8>,
    At<offsetof(glimmet::detail::SqlQuery, status_), 32>, At<offsetof(glimmet::detail::SqlQuery, wide_number_), 40>,
    At<offsetof(glimmet::detail::SqlQuery, error_), 48>, At<offsetof(glimmet::detail::SqlQuery, time_), 80>,
    At<offsetof(glimmet::detail::SqlQuery, extra_number_), 96>,
    At<offsetof(glimmet::detail::SqlQuery, connection_), 104>,
    At<offsetof(glimmet::detail::SqlQuery, transaction_), 112>,
    At<offsetof(glimmet::detail::SqlQuery, stack_trace_), 120>>;
template struct Layout<glimmet::detail::SqlTransaction, 40, At<offsetof(glimmet::detail::SqlTransaction, id_), 4>,
                       At<offsetof(glimmet::detail::SqlTransaction, parent_), 8>,
                       At<offsetof(glimmet::detail::SqlTransaction, extra_number_), 16>,
                       At<offsetof(glimmet::detail::SqlTransaction, time_), 24>>;
template struct Layout<glimmet::detail::Storage, 64, At<offsetof(glimmet::detail::Storage, request_id_), 8>,
                       At<offsetof(glimmet::detail::Storage, name_), 16>,
                       At<offsetof(glimmet::detail::Storage, entries_), 40>>;
template struct Layout<
    monitor::detail::Event, 312, At<offsetof(monitor::detail::Event, request_id_), 8>,
    At<offsetof(monitor::detail::Event, timestamp_), 16>, At<offsetof(monitor::detail::Event, kind_), 32>,
    At<offsetof(monitor::detail::Event, event_text_), 40>, At<offsetof(monitor::detail::Event, function_), 64>,
    At<offsetof(monitor::detail::Event, stack_trace_), 168>, At<offsetof(monitor::detail::Event, event_flag_), 200>,
    At<offsetof(monitor::detail::Event, details_), 208>>;
template struct Layout<php::detail::Body, 56, At<offsetof(php::detail::Body, text_0_), 0>,
                       At<offsetof(php::detail::Body, number_), 24>, At<offsetof(php::detail::Body, text_1_), 32>>;
template struct Layout<php::detail::PostData, 72, At<offsetof(php::detail::PostData, request_id_), 8>,
                       At<offsetof(php::detail::PostData, body_), 16>>;
template struct Layout<php::detail::ResponseBody, 72, At<offsetof(php::detail::ResponseBody, request_id_), 8>,
                       At<offsetof(php::detail::ResponseBody, body_), 16>>;
template struct Layout<
    php::detail::ErrorData, 184, At<offsetof(php::detail::ErrorData, request_id_), 8>,
    At<offsetof(php::detail::ErrorData, timestamp_), 16>, At<offsetof(php::detail::ErrorData, message_), 32>,
    At<offsetof(php::detail::ErrorData, details_), 56>, At<offsetof(php::detail::ErrorData, location_), 112>,
    At<offsetof(php::detail::ErrorData, stack_trace_), 152>>;
template struct Layout<php::detail::RequestHeaders, 24, At<offsetof(php::detail::RequestHeaders, request_id_), 8>,
                       At<offsetof(php::detail::RequestHeaders, headers_), 16>>;
template struct Layout<php::detail::ResponseHeaders, 24, At<offsetof(php::detail::ResponseHeaders, request_id_), 8>,
                       At<offsetof(php::detail::ResponseHeaders, headers_), 16>>;
template struct Layout<php::detail::PelorinArray, 32, At<offsetof(php::detail::PelorinArray, elements_), 8>>;
template struct Layout<php::detail::PelorinObject, 48, At<offsetof(php::detail::PelorinObject, class_name_), 8>,
                       At<offsetof(php::detail::PelorinObject, properties_), 32>,
                       At<offsetof(php::detail::PelorinObject, value_), 40>>;
template struct Layout<php::detail::PelorinResource, 40, At<offsetof(php::detail::PelorinResource, type_name_), 8>,
                       At<offsetof(php::detail::PelorinResource, value_), 32>>;
template struct Layout<
    php::detail::RInit, 224, At<offsetof(php::detail::RInit, request_id_), 8>,
    At<offsetof(php::detail::RInit, timestamp_), 16>, At<offsetof(php::detail::RInit, version_major_), 32>,
    At<offsetof(php::detail::RInit, version_minor_), 36>, At<offsetof(php::detail::RInit, version_patch_), 40>,
    At<offsetof(php::detail::RInit, version_text_), 48>, At<offsetof(php::detail::RInit, version_number_), 72>,
    At<offsetof(php::detail::RInit, info_text_), 80>, At<offsetof(php::detail::RInit, request_text_0_), 104>,
    At<offsetof(php::detail::RInit, request_text_1_), 128>, At<offsetof(php::detail::RInit, info_number_), 152>,
    At<offsetof(php::detail::RInit, request_bytes_0_), 160>, At<offsetof(php::detail::RInit, request_bytes_1_), 192>>;
template struct Layout<
    php::detail::RShutdown, 80, At<offsetof(php::detail::RShutdown, request_id_), 8>,
    At<offsetof(php::detail::RShutdown, timestamp_), 16>, At<offsetof(php::detail::RShutdown, duration_), 32>,
    At<offsetof(php::detail::RShutdown, response_status_), 48>, At<offsetof(php::detail::RShutdown, memory_0_), 56>,
    At<offsetof(php::detail::RShutdown, memory_1_), 64>, At<offsetof(php::detail::RShutdown, memory_2_), 72>>;
template struct Layout<php::detail::Superglobals, 24, At<offsetof(php::detail::Superglobals, request_id_), 8>,
                       At<offsetof(php::detail::Superglobals, values_), 16>>;
template struct Layout<php::detail::ZVal, 48, At<offsetof(php::detail::ZVal, value_), 8>>;
template struct Layout<PelorinPHPX::Auth::RequestData, 88, At<offsetof(PelorinPHPX::Auth::RequestData, kind), 4>,
                       At<offsetof(PelorinPHPX::Auth::RequestData, text_1), 8>,
                       At<offsetof(PelorinPHPX::Auth::RequestData, text_2), 32>,
                       At<offsetof(PelorinPHPX::Auth::RequestData, optional_text), 56>>;
template struct Layout<PelorinPHPX::Auth::UserData, 168, At<offsetof(PelorinPHPX::Auth::UserData, kind), 4>,
                       At<offsetof(PelorinPHPX::Auth::UserData, id), 8>,
                       At<offsetof(PelorinPHPX::Auth::UserData, name), 16>,
                       At<offsetof(PelorinPHPX::Auth::UserData, attribute_1), 48>,
                       At<offsetof(PelorinPHPX::Auth::UserData, attribute_2), 80>,
                       At<offsetof(PelorinPHPX::Auth::UserData, entries), 112>>;
template struct Layout<PelorinPHPX::SessionData, 64, At<offsetof(PelorinPHPX::SessionData, user), 8>,
                       At<offsetof(PelorinPHPX::SessionData, blob), 24>,
                       At<offsetof(PelorinPHPX::SessionData, word_1), 48>,
                       At<offsetof(PelorinPHPX::SessionData, word_2), 56>>;

// Handles and tables are one pointer wide.
template struct Layout<PelorinPHPX::Auth::Request, 8>;
template struct Layout<PelorinPHPX::Auth::User, 8>;
template struct Layout<PelorinPHPX::Session, 8>;
constexpr bool handles_are_pointers = []<class... Handle>(Types<Handle...>) {
    return ((sizeof(Handle) == sizeof(void *) && alignof(Handle) == alignof(void *)) && ...);
}(RecordHandles());
static_assert(handles_are_pointers);
template struct Layout<glimmet::SqlConnections, 8>;
template struct Layout<glimmet::SqlTransactions, 8>;

// Classes that programs store and derive from.
template struct Layout<
    PelorinPHPX::ConfigFile, 168, At<offsetof(PelorinPHPX::ConfigFile, parent_), 0>,
    At<offsetof(PelorinPHPX::ConfigFile, file_name_), 8>, At<offsetof(PelorinPHPX::ConfigFile, path_), 32>,
    At<offsetof(PelorinPHPX::ConfigFile, file_path_), 56>,
    At<offsetof(PelorinPHPX::ConfigFile, canonical_file_path_), 80>,
    At<offsetof(PelorinPHPX::ConfigFile, prefix_), 104>, At<offsetof(PelorinPHPX::ConfigFile, line_no_), 136>,
    At<offsetof(PelorinPHPX::ConfigFile, values_), 144>, At<offsetof(PelorinPHPX::ConfigFile, observer_), 160>>;
template struct Layout<PelorinPHPX::ConfigObserver, 8>;
template struct Layout<PException, 56>;
template struct Layout<TextWriter, 40, At<offsetof(TextWriter, out_), 0>, At<offsetof(TextWriter, first_), 32>>;

// Lists move these as bytes, which is compiled into programs too.
static_assert(QTypeInfo<php::Function>::isRelocatable);
static_assert(QTypeInfo<glimmet::FunctionStats>::isRelocatable);
static_assert(QTypeInfo<glimmet::detail::StorageEntry>::isRelocatable);

std::string text_of(std::filesystem::path const &path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Layout, of_every_exported_class_is_asserted)
{
    std::filesystem::path const sources(TARNWICK_SOURCES);
    auto const here = text_of(sources / "tests/data/layout_test.cpp");
    std::regex const exported(R"((?:class|struct) TARNWICK_EXPORT (\w+))");
    std::size_t classes = 0;
    for (auto const &header : std::filesystem::recursive_directory_iterator(sources / "libs/tarnwick")) {
        if (header.path().extension() != ".h")
            continue;
        auto const text = text_of(header.path());
        for (std::sregex_iterator found(text.begin(), text.end(), exported); found != std::sregex_iterator(); ++found) {
            ++classes;
            auto const name = (*found)[1].str();
            std::regex const held("template struct Layout<\\s*(\\w+::)*" + name + ",");
            EXPECT_TRUE(std::regex_search(here, held)) << name << " of " << header.path();
        }
    }
    EXPECT_NE(classes, 0);
}

/// The index of a virtual function in the table of its class. A pointer to member contains the offset in the table plus 1.
template <class Class, class... Parameters>
std::ptrdiff_t place(void (Class::*function)(Parameters...))
{
    auto const [place, of_this] = std::bit_cast<std::array<std::ptrdiff_t, 2>>(function);
    return (place - 1) / static_cast<std::ptrdiff_t>(sizeof(void *));
}

TEST(Layout, of_an_observer_keeps_the_order_of_its_functions)
{
    using PelorinPHPX::ConfigObserver;
    EXPECT_EQ(place(&ConfigObserver::opened), 0);
    EXPECT_EQ(place(&ConfigObserver::directive), 1);
    EXPECT_EQ(place(&ConfigObserver::resolved), 2);
    EXPECT_EQ(place(&ConfigObserver::unresolved), 3);
    EXPECT_EQ(place(&ConfigObserver::outside_prefix), 4);
    EXPECT_EQ(place(&ConfigObserver::added), 5);
    EXPECT_EQ(place(&ConfigObserver::matched), 6);
    EXPECT_EQ(place(&ConfigObserver::merged), 7);
    EXPECT_EQ(place(&ConfigObserver::opening), 8);
}

} // namespace
} // namespace tarnwick::data::layout_test
