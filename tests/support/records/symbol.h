#pragma once

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <typeinfo>

namespace tarnwick::test {

/// The name of a class as in symbols: `tarnwick::data::php::RequestId`.
template <class T>
std::string symbol()
{
    std::unique_ptr<char, decltype(&std::free)> const name(
        abi::__cxa_demangle(typeid(T).name(), nullptr, nullptr, nullptr), &std::free);
    return name.get();
}

} // namespace tarnwick::test
