' A client of the component in a script: opens the back ends of the site in the first argument, asks, reads failures.
Dim server, number, source, description
Set server = CreateObject("VQLoan.DispSvr")

Sub Report(kind, request)
    Dim failed: failed = server.OpenDatabase(kind)
    server.LastError number, source, description
    WScript.Echo kind & " " & failed & " " & number & " " & source & " " & description
    If failed Then Exit Sub
    Dim answer: answer = Replace(Replace(server.VisNre("", "", request), vbTab, "|"), vbCrLf, "/")
    WScript.Echo Replace(answer, Chr(224), "a'")
End Sub

WScript.Echo TypeName(server) & " " & server.DBType & " [" & server.BibPosse & "] " & server.ErrNumber
Report "7000", "00" & vbTab & vbTab & "1"
Report "SQL", "01" & vbTab & vbTab & "1"
server.BibPosse = "xy"
server.ShutDown
WScript.Echo server.DBType & " " & server.bibposse & " " & (server.ZObj Is Nothing)
Report Null, ""
On Error Resume Next
server.NoSuchMember
WScript.Echo Err.Number
