// An application that is linked to the library.
#include "application.hpp"

int main(int argc, char** argv) { return argc == 2 ? runApplication(argv[1]) : 2; }
