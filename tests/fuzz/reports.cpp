// Fuzz targets: every message that records are built from, with all of its records.

#include "fuzz/message_inputs.h"
#include "fuzz/naive_text.h"
#include "fuzz/promise.h"
#include "fuzz/target.h"

#include "support/record_content.h"
#include "support/records/constructors.h"

#include <google/protobuf/descriptor.h>

#include <charconv>
#include <cstddef>
#include <map>
#include <optional>
#include <ranges>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::fuzz {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using test::Constructor;
using test::RecordContent;

/// Replaces each text of a message by its number, and keeps the texts. A number in a record then identifies the text
/// that belongs there.
class NumberedTexts {
public:
    void number(Message &message)
    {
        texts_.clear();
        number_in(message);
    }
    [[nodiscard]] bool empty() const { return texts_.empty(); }
    /// Returns the text of a number. Other texts are empty, or belong to the connections and transactions that a
    /// constructor takes as arguments.
    [[nodiscard]] std::optional<std::string_view> at(std::string_view number) const
    {
        if (!number.starts_with(numbered))
            return std::nullopt;
        auto const *const end = number.data() + number.size();
        std::size_t index = texts_.size();
        auto const [read, error] = std::from_chars(number.data() + 1, end, index);
        expect(error == std::errc() && read == end && index < texts_.size(), "a text is complete, without additions");
        return texts_[index];
    }

private:
    void number_in(Message &message)
    {
        auto const &reflection = *message.GetReflection();
        std::vector<FieldDescriptor const *> fields;
        reflection.ListFields(message, &fields);
        for (auto const *field : fields) {
            if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
                if (!field->is_repeated())
                    number_in(*reflection.MutableMessage(&message, field));
                for (int i = 0; field->is_repeated() && i < reflection.FieldSize(message, field); ++i)
                    number_in(*reflection.MutableRepeatedMessage(&message, field, i));
            } else if (field->cpp_type() == FieldDescriptor::CPPTYPE_STRING) {
                auto const number =
                    field->name() == "lines" ? &NumberedTexts::number_of_line : &NumberedTexts::number_of;
                if (!field->is_repeated())
                    reflection.SetString(&message, field, (this->*number)(reflection.GetString(message, field)));
                for (int i = 0; field->is_repeated() && i < reflection.FieldSize(message, field); ++i)
                    reflection.SetRepeatedString(&message, field, i,
                                                 (this->*number)(reflection.GetRepeatedString(message, field, i)));
            }
        }
    }

    // An empty text stays empty, since records test for that.
    std::string number_of(std::string text)
    {
        if (text.empty())
            return text;
        texts_.push_back(std::move(text));
        return numbered + std::to_string(texts_.size() - 1);
    }

    // The name and the value of a header are two texts.
    std::string number_of_line(std::string line)
    {
        auto const colon = line.find(": ");
        if (colon == std::string::npos)
            return number_of(std::move(line));
        auto const name = number_of(line.substr(0, colon));
        return name + ": " + number_of(line.substr(colon + 2));
    }

    static constexpr char numbered = '\x02';

    std::vector<std::string> texts_;
};

/// Checks that the record of the message has each text where the record of the numbered message has its number: decoded
/// in texts, unchanged in bytes.
void expect_texts(RecordContent const &content, RecordContent const &numbered, NumberedTexts const &sent)
{
    expect(content.structure() == numbered.structure(), "numbers and kinds do not depend on texts");
    for (std::size_t i = 0; i < content.texts().size(); ++i) {
        auto const number = numbered.texts()[i];
        auto const bytes = sent.at(number.toUtf8().toStdString());
        expect(bytes ? content.texts()[i] == QStringView(naive_text(*bytes)) : content.texts()[i] == number,
               "a text is what the reference decoder returns");
    }
    for (std::size_t i = 0; i < content.byte_strings().size(); ++i) {
        auto const number = numbered.byte_strings()[i];
        expect(content.byte_strings()[i] == sent.at(number).value_or(number), "bytes are unchanged");
    }
}

/// The records of one dialect.
class Reports {
public:
    explicit Reports(std::string_view rpc_or_protobuf)
        : skip_(rpc_or_protobuf == "rpc" ? 0 : test::chunk_skip)
    {
        for (auto const &constructor : constructors_) {
            auto const reads = constructor.signature.substr(constructor.signature.find('(') + 1);
            bool const is_rpc = reads.starts_with("tarnwick::rpc") || reads.starts_with("zeromq");
            if (is_rpc != (rpc_or_protobuf == "rpc"))
                continue;
            if (constructor.prototype == nullptr) {
                by_name_[reads].push_back(&constructor);
                continue;
            }
            by_name_[std::string(constructor.prototype->GetDescriptor()->full_name())].push_back(&constructor);
            inputs_.add(*constructor.prototype);
        }
    }

    bool check(std::string_view input)
    {
        auto const parts = MessageInputs::parts_of(input);
        auto const found = by_name_.find(parts.name);
        if (found == by_name_.end())
            return false;
        auto const &constructors = found->second;
        if (constructors.front()->prototype == nullptr) {
            for (auto const *constructor : constructors)
                expect_clean_run([&] { check_of_bytes(*constructor, parts.bytes); });
            return true;
        }
        auto const *const message = inputs_.parsed(input);
        if (message == nullptr)
            return false;
        auto &numbered = *message->New(message->GetArena());
        numbered.CopyFrom(*message);
        texts_.number(numbered);
        for (auto const *constructor : constructors)
            expect_clean_run([&] { check_of_message(*constructor, *message, numbered); });
        return true;
    }

    MessageInputs &inputs() { return inputs_; }

    [[nodiscard]] std::vector<std::string_view> classes() const
    {
        auto const names = std::views::keys(by_name_);
        return {names.begin(), names.end()};
    }

private:
    void check_of_message(Constructor const &constructor, Message const &message, Message const &numbered)
    {
        constructor.build_from_message(message, first_);
        constructor.build_from_message(message, second_);
        expect(first_ == second_, "two records of one message are equal");
        if (texts_.empty())
            return;
        constructor.build_from_message(numbered, second_);
        expect_texts(first_, second_, texts_);
    }

    void check_of_bytes(Constructor const &constructor, std::string_view bytes)
    {
        constructor.build_from_bytes(bytes, first_);
        constructor.build_from_bytes(bytes, second_);
        expect(first_ == second_, "two records of one message are equal");
        auto const &chunks = first_.byte_strings();
        if (bytes.size() <= skip_ && skip_ > 0)
            return expect(chunks.size() == 0, "a message with nothing after the skipped bytes has no chunk");
        expect(chunks.size() == 1 && chunks[0] == bytes.substr(skip_), "a chunk is the rest of the message");
    }

    std::vector<Constructor> const constructors_ = test::constructors();
    std::size_t const skip_;                                                       ///< bytes before a chunk
    std::map<std::string, std::vector<Constructor const *>, std::less<>> by_name_; ///< by the class of their message
    MessageInputs inputs_;
    NumberedTexts texts_;
    RecordContent first_;
    RecordContent second_;
};

Reports &rpc()
{
    static Reports reports("rpc");
    return reports;
}

Reports &protobuf()
{
    static Reports reports("protobuf");
    return reports;
}

template <Reports &reports()>
constexpr Target target(std::string_view name)
{
    return {.name = name,
            .check = [](std::string_view input) { return reports().check(input); },
            .mutated = [](std::string_view input, std::uint32_t seed,
                          MutateBytes mutate_bytes) { return reports().inputs().mutated(input, seed, mutate_bytes); },
            .crossed = [](std::string_view input, std::string_view other,
                          std::uint32_t seed) { return reports().inputs().crossed(input, other, seed); },
            .classes = [] { return reports().classes(); }};
}

} // namespace

constinit Target const rpc_reports = target<rpc>("rpc_reports");
constinit Target const protobuf_reports = target<protobuf>("protobuf_reports");

} // namespace tarnwick::fuzz
