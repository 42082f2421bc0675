#include "command_line.h"

int main(int argc, char **argv)
{
    return tarnwick::program::run(argc, argv);
}
