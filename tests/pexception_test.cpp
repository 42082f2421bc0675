#include "support/sanitizers.h"

#include <tarnwick/pexception.h>

#include <cstddef>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include <dlfcn.h>
#include <link.h>

#include <gtest/gtest.h>

namespace tarnwick::test::pexception_test {
namespace {

static_assert(std::is_base_of_v<std::runtime_error, PException>);
static_assert(std::is_convertible_v<PException *, std::runtime_error *>, "the base is public");
static_assert(std::is_same_v<decltype(&PException::what), char const *(std::runtime_error::*)() const noexcept>,
              "what() is the inherited one");
static_assert(std::is_nothrow_copy_constructible_v<PException> && std::is_nothrow_copy_assignable_v<PException>);
static_assert(!std::is_default_constructible_v<PException>);
static_assert(!std::is_convertible_v<std::string, PException>);
static_assert(!std::is_final_v<PException>);

// The layout that all programs of the product are compiled with.
struct Shape : std::runtime_error {
    std::string text;
    int number;
};

static_assert(sizeof(PException) == sizeof(Shape) && alignof(PException) == alignof(Shape));

char const *const texts[] = {
    "",
    "plain",
    "Größe \xE2\x82\xAC \xF0\x9F\x98\x80",
    "{} and %s stay as they are",
    "first line\nsecond line",
    "a text that is too long to be kept inside of any string object, whatever the library",
};

template <class ItselfOrBase>
class PExceptionCaughtAs : public testing::Test {};

using ItselfAndBases = testing::Types<PException, std::runtime_error, std::exception>;
TYPED_TEST_SUITE(PExceptionCaughtAs, ItselfAndBases, );

TYPED_TEST(PExceptionCaughtAs, itself_or_a_base_has_its_text_and_type)
{
    for (char const *const text : texts) {
        SCOPED_TRACE(text);
        try {
            throw PException(text);
        } catch (TypeParam const &exception) {
            EXPECT_STREQ(exception.what(), text);
            EXPECT_EQ(typeid(exception), typeid(PException));
        }
    }
}

TEST(PException, is_not_a_logic_error)
{
    auto const caught_as = [] {
        try {
            throw PException("m");
        } catch (std::logic_error const &) {
            return "logic_error";
        } catch (std::exception const &) {
            return "exception";
        }
    };
    EXPECT_STREQ(caught_as(), "exception");
}

TEST(PException, copies_keep_the_text)
{
    PException const first("first");
    PException copy(first);
    EXPECT_STREQ(copy.what(), "first");
    copy = PException("second");
    EXPECT_STREQ(copy.what(), "second");
    EXPECT_STREQ(first.what(), "first");
}

TEST(PException, can_be_rethrown_from_an_exception_pointer)
{
    auto const pointer = std::make_exception_ptr(PException("kept"));
    try {
        std::rethrow_exception(pointer);
    } catch (PException const &exception) {
        EXPECT_STREQ(exception.what(), "kept");
    }
}

TEST(PException, has_an_empty_string_and_zero_after_its_base)
{
    try {
        throw PException("a text that is too long to be kept inside of any string object");
    } catch (PException const &exception) {
        auto const *const begin = reinterpret_cast<std::byte const *>(&exception);
        EXPECT_EQ(static_cast<void const *>(static_cast<std::runtime_error const *>(&exception)), begin);
        auto const *const behind_base = begin + sizeof(std::runtime_error);
        EXPECT_EQ(*reinterpret_cast<std::string const *>(behind_base), "");
        int number = -1;
        std::memcpy(&number, behind_base + sizeof(std::string), sizeof number);
        EXPECT_EQ(number, 0);
    }
}

TEST(PException, has_the_virtual_table_of_its_base)
{
    // Two destructors, then what().
    constexpr std::size_t what_slot = 2;
    auto const virtual_table = [](std::runtime_error const &object) {
        void *const *table = nullptr;
        std::memcpy(static_cast<void *>(&table), static_cast<void const *>(&object), sizeof table);
        return table;
    };
    PException const exception("m");
    std::runtime_error const base("m");
    EXPECT_EQ(virtual_table(exception)[what_slot], virtual_table(base)[what_slot]);
    EXPECT_NE(virtual_table(exception)[0], virtual_table(base)[0]);

    // The offset to top and the type information precede the virtual functions.
    Dl_info place;
    void *symbol = nullptr;
    ASSERT_NE(dladdr1(static_cast<void const *>(virtual_table(exception)), &place, &symbol, RTLD_DL_SYMENT), 0);
    EXPECT_STREQ(place.dli_sname, "_ZTV10PException");
    if (!is_sanitized) { // AddressSanitizer of clang makes the symbol larger
        EXPECT_EQ(static_cast<ElfW(Sym) const *>(symbol)->st_size, (2 + what_slot + 1) * sizeof(void *));
    }
}

TEST(PException, shares_its_type_information_across_libraries)
{
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "_ZTI10PException"), static_cast<void const *>(&typeid(PException)));
}

} // namespace
} // namespace tarnwick::test::pexception_test
