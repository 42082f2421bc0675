#pragma once

#include <tarnwick/data/print.h>

#include <gtest/gtest.h>

#include <string>

namespace tarnwick::test {

/// Expects one text from {fmt} and from QDebug, for a handle and for its payload.
template <class Handle>
void expect_printed(Handle const &handle, std::string const &printed)
{
    EXPECT_EQ(fmt::format("{}", handle), printed);
    EXPECT_EQ(fmt::format("{}", *handle), printed);

    QString text;
    QDebug(&text).nospace() << handle;
    EXPECT_EQ(text, QString::fromStdString(printed));
}

} // namespace tarnwick::test
