// What JScript hands over otherwise than VBScript: null for no object, arguments left out, numbers that are doubles.
// Run by LateBindingTest. Argument: a key set to load.
var key = new ActiveXObject("ZChromaKey.ZChromaKey");
key.PersistLoad(WScript.Arguments(0));
WScript.Echo("types " + key.KeyGet().TypeGet() + " " + key.KeyGet(null).TypeGet());
key.KeyFrameSet(null, null);
key.LogSet(null, 2);
key.KeyAdjustSet(1, 12.5 * 2);
WScript.Echo("power " + key.KeyAdjustGet(1) + " steps " + key.StepsBack() + " undone " + key.StepBack(9) + " " + key.StepBack());
WScript.Echo("name " + key.PluginName() + " threads " + key.PropsGet("process.threads"));
try {
    key.KeyAdjustSet(99, 1);
} catch (e) {
    WScript.Echo("refused " + (e.description || e.message).replace(/.*(there is no adjustment 99).*/, "$1"));
}
key.Close();
var second = new ActiveXObject("ZChromaKey.ZChromaKey2");
second.ParamSet("spill", 50);
WScript.Echo("spill " + second.ParamGet("spill") + " of " + second.ParamCount());
second.Close();
