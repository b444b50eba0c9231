#include <gtest/gtest.h>
#include <miniz.h>
#include <quickjs.h>

#include <string>

TEST(ThirdParty, QuickJSEvaluates) {
    JSRuntime* runtime = JS_NewRuntime();
    JSContext* context = JS_NewContext(runtime);
    const std::string script = "6 * 7";
    const JSValue result =
        JS_Eval(context, script.c_str(), script.size(), "test", JS_EVAL_TYPE_GLOBAL);
    int number = 0;
    EXPECT_EQ(0, JS_ToInt32(context, &number, result));
    EXPECT_EQ(42, number);
    JS_FreeValue(context, result);
    JS_FreeContext(context);
    JS_FreeRuntime(runtime);
}

TEST(ThirdParty, MinizRoundTrips) {
    const std::string text(1000, 'q');
    mz_ulong packedSize = compressBound(text.size());
    std::string packed(packedSize, '\0');
    ASSERT_EQ(MZ_OK, mz_compress(reinterpret_cast<unsigned char*>(packed.data()), &packedSize,
                                 reinterpret_cast<const unsigned char*>(text.data()), text.size()));
    EXPECT_LT(packedSize, text.size() / 10);
    mz_ulong size = text.size();
    std::string unpacked(size, '\0');
    ASSERT_EQ(MZ_OK,
              mz_uncompress(reinterpret_cast<unsigned char*>(unpacked.data()), &size,
                            reinterpret_cast<const unsigned char*>(packed.data()), packedSize));
    EXPECT_EQ(text, unpacked.substr(0, size));
}
