#pragma once

#include <QtCore/QString>

#include <cstdint>
#include <string>

namespace tarnwick::data::php::detail {

/// The common fields of `PostData` and `ResponseBody`. Both have it as a member. With a common base class each would
/// convert to that base.
class Body {
public:
    Body() noexcept = default;
    Body(std::string const &text_0, std::int64_t number, std::string const &text_1);

    [[nodiscard]] QString const &text_0() const noexcept { return text_0_; }
    [[nodiscard]] std::int64_t number() const noexcept { return number_; }
    [[nodiscard]] QString const &text_1() const noexcept { return text_1_; }

private:
    QString text_0_;
    std::int64_t number_ = 0;
    QString text_1_;
};

} // namespace tarnwick::data::php::detail
