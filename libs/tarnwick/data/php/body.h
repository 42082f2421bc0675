#pragma once

#include <tarnwick/data/php/request_id.h>

#include <QtCore/QSharedData>
#include <QtCore/QString>

#include <cstdint>
#include <string>

namespace tarnwick::data::php::detail {

/// What the body of a request and that of its response have in common. Which of the texts is the body is the sender's
/// affair. Bytes that are not UTF-8 become replacement characters.
///
/// | Accessor       | Meaning                            | rpc                         | protobuf                   |
/// |----------------|------------------------------------|-----------------------------|----------------------------|
/// | `request_id()` | request that it belongs to         | envelope, 0 when absent     | constructor argument       |
/// | `text_0()`     | first text                         | null without a body         | empty when unset           |
/// | `number()`     | number that travels with the texts | 0 to 4294967295, 0 without  | 0 when unset; in a         |
/// |                |                                    | a body                      | `ResponseBody` never sent: 0 |
/// | `text_1()`     | second text                        | null without a body         | empty when unset           |
class Body : public QSharedData {
public:
    Q_DISABLE_COPY_MOVE(Body)

    [[nodiscard]] RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] QString const &text_0() const noexcept { return text_0_; }
    [[nodiscard]] std::int64_t number() const noexcept { return number_; }
    [[nodiscard]] QString const &text_1() const noexcept { return text_1_; }

protected:
    explicit Body(RequestId request_id) noexcept
        : request_id_(request_id)
    {
    }
    ~Body() = default;

    void fill(std::string const &text_0, std::int64_t number, std::string const &text_1);

private:
    RequestId request_id_;
    QString text_0_;
    std::int64_t number_ = 0;
    QString text_1_;
};

} // namespace tarnwick::data::php::detail
