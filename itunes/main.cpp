#include "itunes/import_driver.h"

int main(int argc, char** argv) {
    return itunes_import_main(argc, argv);
}
