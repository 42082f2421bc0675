#pragma once

#include "database/cell.h"
#include "database/value_writer.h"
#include "print/masked_writer.h"
#include "print/masks.h"

#include <tarnwick/data/description.h>
#include <tarnwick/data/php/zval.h>
#include <tarnwick/data/walk.h>

#include <QtCore/QString>

#include <string_view>

namespace tarnwick::program {

/// Converts texts of records to cells, masked.
class RowTexts {
public:
    explicit RowTexts(Masks const &masks)
        : masks_(masks)
    {
    }

    [[nodiscard]] Cell text(QString const &text) const
    {
        return masks_.are_on() && !text.isEmpty() ? Cell(masks_.text(text.toStdString())) : Cell(text);
    }
    /// The name of a function or a file.
    [[nodiscard]] Cell name(QString const &name) const
    {
        return masks_.are_on() && !name.isEmpty() ? Cell(masks_.name(name.toStdString())) : Cell(name);
    }
    [[nodiscard]] Cell statement(QString const &text) const
    {
        return masks_.are_on() && !text.isEmpty() ? Cell(masks_.statement(text.toStdString())) : Cell(text);
    }

private:
    Masks const &masks_;
};

/// Converts PHP values in a field of a record to cells. Which are masked depends on the keys around them.
class ValueCells {
public:
    ValueCells(Masks const &masks, std::string_view record, std::string_view field)
        : has_masks_(masks.are_on())
        , masked_(masks, record, writer_)
    {
        masked_.field(field, data::Sense::plain);
    }

    /// Returns the cell of a key, and enters its value.
    Cell begin(data::php::ZVal const &key)
    {
        masked_.begin_entry();
        auto cell = of(key);
        masked_.entry_value();
        return cell;
    }
    void end() { masked_.end_entry(); }

    template <class Value>
    Cell of(Value const &value)
    {
        if (has_masks_)
            data::walk(masked_, value);
        else
            data::walk(writer_, value);
        return writer_.take();
    }

private:
    bool has_masks_;
    ValueWriter writer_;
    MaskedWriter masked_; ///< writes to `writer_`
};

} // namespace tarnwick::program
