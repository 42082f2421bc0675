#pragma once

#include <QtCore/QList>

namespace tarnwick::test {

/// A list that grew as its elements were appended, with no memory reserved beforehand.
template <class Element>
QList<Element> appended_one_by_one(QList<Element> const &elements)
{
    QList<Element> list;
    for (auto const &element : elements)
        list.append(element);
    return list;
}

} // namespace tarnwick::test
