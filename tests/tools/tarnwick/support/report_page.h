#pragma once

// Reads the page that `tarnwick report` writes, as a browser does.

#include <gtest/gtest.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QLatin1StringView>

#include <map>
#include <string>
#include <string_view>

namespace tarnwick::test {

struct ReportPage {
    std::string html;
    std::string policy;
    std::string style;
    std::string script;
    std::map<std::string, std::string> blocks; ///< the unpacked data, by id

    [[nodiscard]] QJsonObject index() const
    {
        return QJsonDocument::fromJson(QByteArray::fromStdString(blocks.at("index"))).object();
    }
    /// All unpacked data.
    [[nodiscard]] std::string data() const
    {
        std::string all;
        for (auto const &[id, json] : blocks)
            all += json + '\n';
        return all;
    }
};

/// Returns the text between two marks, and moves `at` to its end; fails without them.
inline std::string between(std::string const &text, std::string_view begin, std::string_view end, std::size_t &at)
{
    auto const start = text.find(begin, at);
    auto const stop = start == std::string::npos ? start : text.find(end, start + begin.size());
    if (stop == std::string::npos) {
        ADD_FAILURE() << "no " << begin << " ... " << end;
        return {};
    }
    at = stop;
    return text.substr(start + begin.size(), stop - start - begin.size());
}

inline ReportPage read_report_page(std::string html)
{
    ReportPage page{.html = std::move(html), .policy = {}, .style = {}, .script = {}, .blocks = {}};
    std::size_t at = 0;
    page.policy = between(page.html, R"(http-equiv="Content-Security-Policy" content=")", "\"", at);
    page.style = between(page.html, "<style>", "</style>", at);
    constexpr std::string_view block = R"(<script type="text/plain" id=")";
    while (page.html.find(block, at) != std::string::npos) {
        auto const id = between(page.html, block, "\"", at);
        auto const text = between(page.html, ">", "</script>", at);
        auto const bytes =
            QByteArray::fromBase64Encoding(QByteArray::fromStdString(text), QByteArray::AbortOnBase64DecodingErrors);
        EXPECT_TRUE(bytes) << id;
        // Qt wants the size before the stream of zlib, and takes 0 for unknown.
        auto const json = qUncompress(QByteArray(4, '\0') + *bytes);
        EXPECT_FALSE(json.isEmpty()) << id;
        page.blocks.emplace(id, json.toStdString());
    }
    page.script = between(page.html, "<script>", "</script>", at);
    return page;
}

} // namespace tarnwick::test
