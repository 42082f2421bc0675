// Reads a configuration file of that many lines; one line in ten is a reference to the key above it. Measured from the
// file to the table, with and without the release of the table. Other readers read the same lines. Except for
// references, the lines have the same meaning for them.

#include "support/literal_config_file.h"

#include <tarnwick/pconfigfile.h>

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <glib.h>
#include <ini.h>

#include <QtCore/QMultiHash>
#include <QtCore/QSettings>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

namespace tarnwick::bench {
namespace {

using PelorinPHPX::ConfigFile;
using Table = QMultiHash<QString, QString>;

class Content {
public:
    /// Writes `head` and the lines to a file.
    explicit Content(std::int64_t lines, char const *head = "")
        : name_(folder_.filePath(QString(u"f.conf")).toStdString())
    {
        std::ofstream file(name_);
        file << head;
        for (std::int64_t i = 0; i < lines; ++i) {
            auto const key = fmt::format("module_{}.option_{}", i / 20, i);
            file << (i % 10 == 9 ? fmt::format("{} = ${{module_{}.option_{}}}\n", key, (i - 1) / 20, i - 1)
                                 : fmt::format("{} = /var/lib/value of {}\n", key, i));
        }
    }

    [[nodiscard]] std::string const &name() const { return name_; }
    [[nodiscard]] QString file() const { return QString::fromStdString(name_); }

private:
    QTemporaryDir folder_;
    std::string name_;
};

enum class Span { load, load_and_release };

/// `values` returns the number of values that were read.
template <class Load, class Values>
void measure(benchmark::State &state, Span span, Load load, Values values)
{
    for (auto _ : state) {
        auto loaded = std::make_optional(load());
        state.PauseTiming();
        if (values(*loaded) != state.range(0))
            state.SkipWithError("not every line became a value");
        if (span == Span::load)
            loaded.reset();
        state.ResumeTiming();
    }
}

void config_file(benchmark::State &state, Span span)
{
    Content const content(state.range(0));
    measure(
        state, span, [&] { return ConfigFile::load(content.file(), QString()); },
        [](ConfigFile const &file) { return file.values().size(); });
}

void literal_loop(benchmark::State &state, Span span)
{
    Content const content(state.range(0));
    auto const load = [&] {
        test::LiteralConfigFile file(content.file(), QString());
        file.load();
        return file;
    };
    measure(state, span, load, [](test::LiteralConfigFile const &file) { return file.values().size(); });
}

void inih_into_multi_hash(benchmark::State &state, Span span)
{
    Content const content(state.range(0));
    auto const add = [](void *table, char const * /*section*/, char const *key, char const *value) {
        static_cast<Table *>(table)->insert(QString::fromUtf8(key), QString::fromUtf8(value));
        return 1;
    };
    auto const load = [&] {
        Table table;
        if (ini_parse(content.name().c_str(), add, &table) != 0)
            state.SkipWithError("inih does not read it");
        return table;
    };
    measure(state, span, load, [](Table const &table) { return table.size(); });
}

void g_key_file(benchmark::State &state, Span span)
{
    Content const content(state.range(0), "[group]\n");
    using KeyFile = std::unique_ptr<::GKeyFile, decltype(&::g_key_file_free)>;
    auto const load = [&] {
        KeyFile file(::g_key_file_new(), &::g_key_file_free);
        if (::g_key_file_load_from_file(file.get(), content.name().c_str(), G_KEY_FILE_NONE, nullptr) == FALSE)
            state.SkipWithError("GLib does not read it");
        return file;
    };
    measure(state, span, load, [](KeyFile const &file) {
        gsize count = 0;
        ::g_strfreev(::g_key_file_get_keys(file.get(), "group", &count, nullptr));
        return static_cast<qsizetype>(count);
    });
}

void q_settings(benchmark::State &state, Span span)
{
    Content const content(state.range(0));
    auto const load = [&] {
        // QSettings caches no file with more than 360 keys, so the file is read each time.
        auto settings = std::make_unique<QSettings>(content.file(), QSettings::IniFormat);
        benchmark::DoNotOptimize(settings->contains(QString(u"a"))); // until then it has only found the sections
        return settings;
    };
    measure(state, span, load, [](std::unique_ptr<QSettings> const &settings) { return settings->allKeys().size(); });
}

void sizes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Arg(1'000)->Arg(10'000)->Arg(200'000)->Unit(benchmark::kMillisecond);
}

[[maybe_unused]] bool const has_readers = [] {
    struct Reader {
        char const *name;
        void (*run)(benchmark::State &state, Span span);
    };
    for (auto const &[name, run] : {Reader{"ConfigFile", config_file}, Reader{"literal_loop", literal_loop},
                                    Reader{"inih_into_QMultiHash", inih_into_multi_hash},
                                    Reader{"GKeyFile", g_key_file}, Reader{"QSettings", q_settings}}) {
        auto const title = fmt::format("Config/{}/", name);
        benchmark::RegisterBenchmark(title + "load", run, Span::load)->Apply(sizes);
        benchmark::RegisterBenchmark(title + "load_and_release", run, Span::load_and_release)->Apply(sizes);
    }
    return true;
}();

} // namespace
} // namespace tarnwick::bench
