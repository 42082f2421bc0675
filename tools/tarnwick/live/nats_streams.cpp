#include "live/nats_streams.h"

#include "capture/capture_reader.h"
#include "capture/input_file.h"
#include "capture/interrupt.h"
#include "live/nats_consumer.h"
#include "live/nats_target.h"
#include "live/recording.h"
#include "live/sequence_set.h"
#include "live/stream_frame.h"
#include "print/readable_text.h"

#include <fmt/format.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QSysInfo>

#include <cstdint>
#include <filesystem>
#include <vector>

namespace tarnwick::program {
namespace {

/// Returns a name for the position of a capture in streams.
std::string position_name(std::string const &file)
{
    auto const owner = fmt::format("{}:{}", QSysInfo::machineHostName().toStdString(),
                                   std::filesystem::weakly_canonical(file).string());
    auto const hash = QCryptographicHash::hash(QByteArrayView(owner), QCryptographicHash::Sha256).toHex();
    return fmt::format("tarnwick-{}", hash.left(16).toStdString());
}

/// Returns the numbers that a capture has of a stream.
SequenceSet sequences_in(std::string const &file, std::uint32_t stream)
{
    using Step = CaptureReader::Step;
    SequenceSet sequences;
    InputFile input(file);
    CaptureReader reader(input);
    for (auto step = reader.next(); step != Step::end && step != Step::failure; step = reader.next()) {
        if (step == Step::frame && reader.frame().stream() == stream && reader.frame().stream_sequence() != 0)
            sequences.insert(reader.frame().stream_sequence());
    }
    return sequences;
}

} // namespace

std::unique_ptr<FrameTarget> open_nats_target(std::string const &address)
{
    return std::make_unique<NatsTarget>(NatsAddress(address));
}

void record_stream(std::string const &address, Recording &recording)
{
    auto const name = position_name(recording.target().name());
    NatsConsumer consumer(NatsAddress(address), name);
    auto sequences = sequences_in(recording.target().name(), consumer.stream_id());
    recording.print_line(fmt::format("receiving from {} as {}", escaped_text(address), name));
    while (!Interrupt::requested()) {
        recording.report();
        recording.rotate_if_due();
        auto const messages = consumer.receive();
        for (auto const &message : messages) {
            auto const sequence = place_of(message).sequence;
            if (sequences.insert(sequence))
                recording.take(stream_frame(bytes_of(message), {.stream = consumer.stream_id(), .sequence = sequence}));
        }
        if (!messages.empty()) {
            recording.target().sync();
            consumer.acknowledge(messages);
        }
    }
}

} // namespace tarnwick::program
