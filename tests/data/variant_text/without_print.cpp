#include "data/variant_text/wrong_texts.h"

int wrong_texts_without_print()
{
    return wrong_texts();
}
