#include <gtest/gtest.h>
#include <miniz.h>
#include <quickjs.h>

#include <string>

TEST(ThirdParty, QuickJSEvaluates) {
    JSRuntime* runtime = JS_NewRuntime();
    JSContext* context = JS_NewContext(runtime);
    EXPECT_EQ(42, JS_VALUE_GET_INT(JS_Eval(context, "6 * 7", 5, "test", JS_EVAL_TYPE_GLOBAL)));
    JS_FreeContext(context);
    JS_FreeRuntime(runtime);
}

TEST(ThirdParty, MinizRoundTrips) {
    const std::string text(1000, 'q');
    size_t length = 0;
    void* const packed = tdefl_compress_mem_to_heap(text.data(), text.size(), &length, 0);
    EXPECT_LT(length, text.size() / 4);
    std::string unpacked(text.size(), '\0');
    tinfl_decompress_mem_to_mem(&unpacked[0], unpacked.size(), packed, length, 0);
    mz_free(packed);
    EXPECT_EQ(text, unpacked);
}
