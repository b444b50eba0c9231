#include "support/scenarios.h"

#include <gtest/gtest.h>

TEST(PeerProcess, IsFoundByLsof) { RunScenarios("socket_child", "system/peers.txt"); }
