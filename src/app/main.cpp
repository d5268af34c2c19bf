#include "app/Program.h"

int main(int argc, char** argv)
{
    return brovant::runProgram(argc, argv);
}
