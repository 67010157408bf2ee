/// Compares two files byte by byte, without the string of the date.
#include "support/withoutdate.hpp"

#include <iostream>

int main(int argc, char** argv) {
    using Testing::withoutDate;
    if (argc != 3 || withoutDate(argv[1]) != withoutDate(argv[2])) {
        std::cerr << "usage: compare_files FILE FILE, which are not the same\n";
        return 1;
    }
}
