// A platform that cannot tell the back panel's id: the import stays unresolved.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "boardfeatures/host.h"

TEST(BarePlatform, LacksTheBackPanelFunctionAndNothingElse) {
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "hdd_get_back_panel_id"), nullptr);
    EXPECT_NE(dlsym(RTLD_DEFAULT, "epldio_read"), nullptr);
}

TEST(BarePlatform, TheBackPanelIsZero) {
    uint32_t id[2] = {0xA5A5A5A5, 0xA5A5A5A5};
    EXPECT_EQ(GetDiskBackPanelInfo(id), 0);
    EXPECT_EQ(id[0], 0u);
    EXPECT_EQ(id[1], 0xA5A5A5A5u);
    EXPECT_EQ(GetDiskBackPanelInfo(nullptr), -1);
}
