#pragma once

#include <QtCore/QByteArrayView>
#include <QtCore/QString>
#include <QtCore/QStringConverter>

#include <string_view>

namespace tarnwick::program {

/// Decodes UTF-8. Unlike `QString::fromUtf8`, keeps a byte-order mark at the start. Each invalid byte becomes U+FFFD.
inline QString decoded(std::string_view utf8)
{
    using Flag = QStringDecoder::Flag;
    QStringDecoder decode(QStringDecoder::Utf8, Flag::Stateless | Flag::ConvertInitialBom);
    return decode(QByteArrayView(utf8.data(), static_cast<qsizetype>(utf8.size())));
}

} // namespace tarnwick::program
