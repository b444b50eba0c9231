#include <gtest/gtest.h>
#include <quickjs.h>

TEST(ThirdParty, QuickJSEvaluates) {
    JSRuntime* runtime = JS_NewRuntime();
    JSContext* context = JS_NewContext(runtime);
    EXPECT_EQ(42, JS_VALUE_GET_INT(JS_Eval(context, "6 * 7", 5, "test", JS_EVAL_TYPE_GLOBAL)));
    JS_FreeContext(context);
    JS_FreeRuntime(runtime);
}
