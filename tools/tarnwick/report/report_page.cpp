#include "report/report_page.h"

#include "report/assets.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayView>
#include <QtCore/QCryptographicHash>

namespace tarnwick::program {
namespace {

std::string report_script()
{
    return fmt::format("\n{}", fmt::join(report_scripts, "\n"));
}

std::string source_hash(std::string_view source)
{
    auto const hash = QCryptographicHash::hash(QByteArrayView(source.data(), static_cast<qsizetype>(source.size())),
                                               QCryptographicHash::Sha256);
    return fmt::format("'sha256-{}'", hash.toBase64().toStdString());
}

} // namespace

std::string report_policy()
{
    return fmt::format("default-src 'none'; script-src {}; style-src {}; base-uri 'none'; form-action 'none'",
                       source_hash(report_script()), source_hash(report_style));
}

std::string report_start()
{
    return fmt::format("<!doctype html>\n"
                       "<html lang=\"en\">\n"
                       "<head>\n"
                       "<meta charset=\"utf-8\">\n"
                       "<meta http-equiv=\"Content-Security-Policy\" content=\"{}\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                       "<title>Requests</title>\n"
                       "<style>{}</style>\n"
                       "</head>\n"
                       "<body>\n"
                       "{}",
                       report_policy(), report_style, report_body);
}

std::string report_block(std::string_view id, std::string_view json)
{
    constexpr int smallest = 9;
    constexpr qsizetype size_prefix = 4;                                            // of Qt, before the stream of zlib
    auto const compressed = qCompress(reinterpret_cast<uchar const *>(json.data()), // NOLINT(*-reinterpret-cast)
                                      static_cast<qsizetype>(json.size()), smallest);
    return fmt::format("<script type=\"text/plain\" id=\"{}\">{}</script>\n", id,
                       compressed.sliced(size_prefix).toBase64().toStdString());
}

std::string report_end()
{
    return fmt::format("<script>{}</script>\n</body>\n</html>\n", report_script());
}

} // namespace tarnwick::program
