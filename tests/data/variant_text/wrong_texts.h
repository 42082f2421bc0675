#pragma once

#include "support/record_types.h"

#include <tarnwick/rpc/glimmet/v1/functions.pb.h>
#include <tarnwick/rpc/php/v1/function.pb.h>

#include <QtCore/QDebug>
#include <QtCore/QVariant>

#include <cstdio>
#include <type_traits>

// The number of wrong texts of variants in each of two sources. Only one includes `data/print.h`.
int wrong_texts_with_print();
int wrong_texts_without_print();

namespace {

template <class T>
int wrong_text(T const &value)
{
    QString text;
    QDebug(&text).nospace() << QVariant::fromValue(value);
    auto const expected = QStringLiteral("QVariant(%1, %2)")
                              .arg(QString::fromUtf8(QMetaType::fromType<T>().name()),
                                   QString::fromStdString(tarnwick::data::to_text(value)));
    if (text == expected)
        return 0;
    std::printf("%s is not %s\n", qPrintable(text), qPrintable(expected));
    return 1;
}

/// Checks each handle, each pointer that can be in a list, and each value that a program can build.
int wrong_texts()
{
    using namespace tarnwick;
    int wrong = wrong_text(data::php::Function(rpc::php::v1::Function())) +
                wrong_text(data::glimmet::FunctionStats(rpc::glimmet::v1::Function()));
    test::for_all<test::Handles>([&]<class Handle> {
        wrong += wrong_text(Handle()) + wrong_text(typename Handle::Pointer());
        return true;
    });
    test::for_all<test::Values>([&]<class Value> {
        if constexpr (std::is_default_constructible_v<Value>)
            wrong += wrong_text(Value());
        return true;
    });
    return wrong;
}

} // namespace
