int wrong_texts_with_print();
int wrong_texts_without_print();

// Evaluates both operands, so that each prints its faults.
int main()
{
    auto const wrong = wrong_texts_with_print() + wrong_texts_without_print();
    return wrong == 0 ? 0 : 1;
}
