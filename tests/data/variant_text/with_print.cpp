#include <tarnwick/data/print.h>

#include "data/variant_text/wrong_texts.h"

int wrong_texts_with_print()
{
    return wrong_texts();
}
