// Reading a configuration file of that many lines, one in ten a reference to the key above: from the file to the table.
// Other readers read the same lines, which mean the same to them, references apart.

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
#include <filesystem>
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
    /// `head` stands above the lines.
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

/// The release of what `load` gives is not in the figure. `values` counts what was read.
template <class Load, class Values>
void measure(benchmark::State &state, Load load, Values values)
{
    for (auto _ : state) {
        auto loaded = std::make_optional(load());
        state.PauseTiming();
        if (values(*loaded) != state.range(0))
            state.SkipWithError("not every line became a value");
        loaded.reset();
        state.ResumeTiming();
    }
}

void config_file(benchmark::State &state)
{
    Content const content(state.range(0));
    measure(
        state, [&] { return ConfigFile::load(content.file(), QString()); },
        [](ConfigFile const &file) { return file.values().size(); });
}

void release(benchmark::State &state)
{
    Content const content(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        auto loaded = std::make_optional(ConfigFile::load(content.file(), QString()));
        state.ResumeTiming();
        loaded.reset();
    }
}

void literal_loop(benchmark::State &state)
{
    Content const content(state.range(0));
    auto const load = [&] {
        test::LiteralConfigFile file(content.file(), QString());
        file.load();
        return file;
    };
    measure(state, load, [](test::LiteralConfigFile const &file) { return file.values().size(); });
}

void inih_into_multi_hash(benchmark::State &state)
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
    measure(state, load, [](Table const &table) { return table.size(); });
}

void g_key_file(benchmark::State &state)
{
    Content const content(state.range(0), "[group]\n");
    using KeyFile = std::unique_ptr<::GKeyFile, decltype(&::g_key_file_free)>;
    auto const load = [&] {
        KeyFile file(::g_key_file_new(), &::g_key_file_free);
        if (::g_key_file_load_from_file(file.get(), content.name().c_str(), G_KEY_FILE_NONE, nullptr) == FALSE)
            state.SkipWithError("GLib does not read it");
        return file;
    };
    measure(state, load, [](KeyFile const &file) {
        gsize count = 0;
        ::g_strfreev(::g_key_file_get_keys(file.get(), "group", &count, nullptr));
        return static_cast<qsizetype>(count);
    });
}

void q_settings(benchmark::State &state)
{
    Content const content(state.range(0));
    Content const empty(0);
    // It keeps the content of a file, and reads it anew when the file has changed: in between it is given an empty one.
    QTemporaryDir const folder;
    auto const link = folder.filePath(QString(u"f.conf"));
    auto const point_at = [&](Content const &target) {
        std::filesystem::remove(link.toStdString());
        std::filesystem::create_symlink(target.name(), link.toStdString());
    };
    for (auto _ : state) {
        state.PauseTiming();
        point_at(empty);
        if (!QSettings(link, QSettings::IniFormat).allKeys().isEmpty())
            state.SkipWithError("it has not forgotten");
        point_at(content);
        state.ResumeTiming();
        QSettings const settings(link, QSettings::IniFormat);
        benchmark::DoNotOptimize(settings.contains(QString(u"a"))); // before that it has only found the sections
        state.PauseTiming();
        if (settings.allKeys().size() != state.range(0))
            state.SkipWithError("not every line became a value");
        state.ResumeTiming();
    }
}

void sizes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Arg(1'000)->Arg(10'000)->Arg(200'000)->Unit(benchmark::kMillisecond);
}

[[maybe_unused]] bool const registered = [] {
    benchmark::RegisterBenchmark("ConfigFile/load", config_file)->Apply(sizes);
    benchmark::RegisterBenchmark("ConfigFile/release", release)->Apply(sizes);
    benchmark::RegisterBenchmark("ConfigFile/literal_loop", literal_loop)->Apply(sizes);
    benchmark::RegisterBenchmark("ConfigFile/inih_into_QMultiHash", inih_into_multi_hash)->Apply(sizes);
    benchmark::RegisterBenchmark("ConfigFile/GKeyFile", g_key_file)->Apply(sizes);
    benchmark::RegisterBenchmark("ConfigFile/QSettings", q_settings)->Apply(sizes);
    return true;
}();

} // namespace
} // namespace tarnwick::bench
