#include "tests/support.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    register_tables();
    register_commands();
    return RUN_ALL_TESTS();
}
