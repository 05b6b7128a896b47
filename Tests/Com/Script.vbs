' What a script can do with the plug-in object: options, keys, adjustments, saving, all by name. Run by ScriptTest.
' Arguments: a file to save to, a key set to load.
Set key = CreateObject("ZChromaKey.ZChromaKey")
key.PropsSet "output.thread", "false"
key.PropsSet "process.threads", "4"
WScript.Echo "threads " & key.PropsGet("process.threads")
WScript.Echo "first " & key.PropsNameGet(0)
key.PropsSet "process.threads"
WScript.Echo "removed [" & key.PropsGet("process.threads") & "]"

key.PersistLoad WScript.Arguments(1)
WScript.Echo "power " & key.KeyAdjustGet(1)
key.KeyAdjustSet 1, 25
key.KeyAdjustSet 5, 12.5
WScript.Echo "power " & key.KeyAdjustGet(1) & " least " & key.KeyAdjustGet(5)
key.KeyStepBack 1
WScript.Echo "least " & key.KeyAdjustGet(5)
key.KeyStepFwd 1
WScript.Echo "steps " & key.StepsBack
key.PersistSaveToFile WScript.Arguments(0)
WScript.Echo "document " & Left(key.PersistSaveToString, 5)

Set keyObject = key.KeyGet(Nothing)
WScript.Echo "type " & keyObject.TypeGet & " keys " & keyObject.KeysCountGet(0)
keyObject.MaxKeysSet 1, 0
key.KeySet keyObject
Set other = CreateObject("ZChromaKey.ZKey.1")
WScript.Echo "other " & other.KeysCountGet(0)
WScript.Echo "null " & key.KeyGet(Null).TypeGet
key.KeyFrameSet Null, Null
WScript.Echo "name " & key.PluginName
WScript.Echo "adjusts " & key.TableRows(2) & " " & key.TableText(2, 1) & " " & key.TableNumber(2, 1, "least")
key.StepBack 9
WScript.Echo "undone " & key.StepBack
key.Close

On Error Resume Next
key.NoSuchMember 1
WScript.Echo "unknown " & Hex(Err.Number)
Err.Clear
key.KeyAdjustSet 99, 1
WScript.Echo "refused " & (Err.Number <> 0) & " " & Mid(Err.Description, InStr(Err.Description, "no adj"), 16)
Err.Clear
key.PropsSet "gpu_mode", "sometimes"
WScript.Echo "refused " & (Err.Number <> 0)
