#include "support/scenarios.h"

#include <gtest/gtest.h>

TEST(Service, StartsAndEndsInTheseWords) { RunScenarios("service_child", "system/service.txt"); }
