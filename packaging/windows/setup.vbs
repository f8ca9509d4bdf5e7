' Puts the sample's settings beside VQLoan.dll, with the directory where that lies in their paths, and makes the two
' exchange directories:  cscript //nologo setup.vbs
' What is there already is left alone. The directory's name must be one that the machine's code page can write.
Option Explicit
Const sampleDirectory = "C:\VQLoan"
Dim files, here
Set files = CreateObject("Scripting.FileSystemObject")
here = files.GetParentFolderName(WScript.ScriptFullName)

Sub PutSettings(name)
    Dim target, sample, text
    target = here & "\" & name
    If files.FileExists(target) Then
        WScript.Echo target & " is there already"
        Exit Sub
    End If
    Set sample = files.OpenTextFile(here & "\examples\site\" & name)
    text = sample.ReadAll
    sample.Close
    Set sample = files.CreateTextFile(target)
    sample.Write Replace(text, sampleDirectory, here)
    sample.Close
    WScript.Echo "Made " & target
End Sub

Sub MakeDirectory(name)
    If Not files.FolderExists(here & "\" & name) Then files.CreateFolder here & "\" & name
End Sub

PutSettings "SvrDisp.ini"
PutSettings "CLIENT.PAR"
MakeDirectory "gateway"
MakeDirectory "host"
