#include "tools/itunes-import-night/night.h"

int main(int argc, char** argv) {
    return itunes_import_night_main(argc, argv);
}
