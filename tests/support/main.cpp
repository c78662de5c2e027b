#include <fdn/CFdnInit.h>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    fdn::CFdnInit const init(true);
    return RUN_ALL_TESTS();
}
