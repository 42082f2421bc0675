#include <tarnwick/data/print.h>

#include <tarnwick/auth/request.h>
#include <tarnwick/auth/session.h>
#include <tarnwick/auth/user.h>
#include <tarnwick/data/records.h>
#include <tarnwick/export.h>

namespace tarnwick::data::internal {

using monitor::detail::Event;

template struct TARNWICK_EXPORT PartText<TimePair>;

template struct TARNWICK_EXPORT PartText<php::Error>;
template struct TARNWICK_EXPORT PartText<php::Exception>;
template struct TARNWICK_EXPORT PartText<php::Function>;
template struct TARNWICK_EXPORT PartText<php::RequestId>;
template struct TARNWICK_EXPORT PartText<php::SourceLocation>;
template struct TARNWICK_EXPORT PartText<php::StackTrace>;
template struct TARNWICK_EXPORT PartText<php::detail::ErrorData>;
template struct TARNWICK_EXPORT PartText<php::detail::PelorinArray>;
template struct TARNWICK_EXPORT PartText<php::detail::PelorinObject>;
template struct TARNWICK_EXPORT PartText<php::detail::PelorinResource>;
template struct TARNWICK_EXPORT PartText<php::detail::PostData>;
template struct TARNWICK_EXPORT PartText<php::detail::RInit>;
template struct TARNWICK_EXPORT PartText<php::detail::RShutdown>;
template struct TARNWICK_EXPORT PartText<php::detail::RequestHeaders>;
template struct TARNWICK_EXPORT PartText<php::detail::ResponseBody>;
template struct TARNWICK_EXPORT PartText<php::detail::ResponseHeaders>;
template struct TARNWICK_EXPORT PartText<php::detail::Superglobals>;
template struct TARNWICK_EXPORT PartText<php::detail::ZVal>;

template struct TARNWICK_EXPORT PartText<Event>;
template struct TARNWICK_EXPORT PartText<Event::CustomEvent>;
template struct TARNWICK_EXPORT PartText<Event::FunctionError>;
template struct TARNWICK_EXPORT PartText<Event::HighMemoryUsage>;
template struct TARNWICK_EXPORT PartText<Event::PhpError>;
template struct TARNWICK_EXPORT PartText<Event::SlowFunctionExec>;
template struct TARNWICK_EXPORT PartText<Event::SlowRequest>;

template struct TARNWICK_EXPORT PartText<codetrace::detail::AddData>;
template struct TARNWICK_EXPORT PartText<codetrace::detail::Data>;
template struct TARNWICK_EXPORT PartText<codetrace::detail::Header>;

template struct TARNWICK_EXPORT PartText<glimmet::FunctionStats>;
template struct TARNWICK_EXPORT PartText<glimmet::SqlConnections>;
template struct TARNWICK_EXPORT PartText<glimmet::SqlError>;
template struct TARNWICK_EXPORT PartText<glimmet::SqlTransactions>;
template struct TARNWICK_EXPORT PartText<glimmet::detail::Functions>;
template struct TARNWICK_EXPORT PartText<glimmet::detail::SqlConnection>;
template struct TARNWICK_EXPORT PartText<glimmet::detail::SqlQueries>;
template struct TARNWICK_EXPORT PartText<glimmet::detail::SqlQuery>;
template struct TARNWICK_EXPORT PartText<glimmet::detail::SqlTransaction>;
template struct TARNWICK_EXPORT PartText<glimmet::detail::Storage>;
template struct TARNWICK_EXPORT PartText<glimmet::detail::StorageEntry>;

template struct TARNWICK_EXPORT PartText<PelorinPHPX::Auth::RequestData>;
template struct TARNWICK_EXPORT PartText<PelorinPHPX::Auth::UserData>;
template struct TARNWICK_EXPORT PartText<PelorinPHPX::SessionData>;

} // namespace tarnwick::data::internal
