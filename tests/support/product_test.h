// A test that begins with a fresh product tree.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/product_tree.h"

class ProductTest : public testing::Test {
  protected:
    ProductTest() { make_product_tree(); }
};
