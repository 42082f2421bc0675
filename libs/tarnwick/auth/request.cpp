#include <tarnwick/auth/request.h>

namespace PelorinPHPX::Auth {

RequestData::RequestData() = default;
RequestData::~RequestData() = default;

Request::Request(Request const &other) noexcept = default;
Request::Request(Request &&other) noexcept = default;
Request &Request::operator=(Request const &other) noexcept = default;
Request &Request::operator=(Request &&other) noexcept = default;
Request::~Request() = default;

} // namespace PelorinPHPX::Auth
