' Loads a key set, makes its edges softer, and saves it under another name.
' Usage: cscript EditKeys.vbs KEYS.xml NEW.xml
Const eCKA_Smooth = 3
Set keyer = CreateObject("ZChromaKey.ZChromaKey")
keyer.PersistLoad WScript.Arguments(0)
keyer.KeyAdjustSet eCKA_Smooth, keyer.KeyAdjustGet(eCKA_Smooth) + 20
keyer.PersistSaveToFile WScript.Arguments(1)
WScript.Echo "smooth is " & keyer.KeyAdjustGet(eCKA_Smooth) & " now"
keyer.Close
