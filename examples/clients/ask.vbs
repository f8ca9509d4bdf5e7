' A client in a script: asks about one copy through the registered class.
'     cscript //nologo ask.vbs KIND LIBRARY INVENTORY        KIND is SQL2, SQL or 7000
Option Explicit
Dim server, number, source, description
If WScript.Arguments.Count <> 3 Then
    WScript.Echo "usage: ask.vbs KIND LIBRARY INVENTORY"
    WScript.Quit 2
End If
Set server = CreateObject("VQLoan.DispSvr")
If server.OpenDatabase(WScript.Arguments(0)) Then ' True means that it failed
    server.LastError number, source, description
    WScript.Echo number & " " & source & ": " & description
    WScript.Quit 1
End If
WScript.Echo server.VisNre("", "", WScript.Arguments(1) & vbTab & vbTab & WScript.Arguments(2) & vbTab & vbCrLf)
server.ShutDown
