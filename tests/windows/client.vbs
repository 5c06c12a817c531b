' A script as a host: it drives the registered class and tells what it sees, one line a promise.
Option Explicit
Dim failed, mpu, number, enable
failed = 0

Sub Check(what, got, expected)
    If TypeName(got) = TypeName(expected) And CStr(got) = CStr(expected) Then
        WScript.Echo "ok: " & what & " = " & CStr(got)
    Else
        failed = failed + 1
        WScript.Echo "FAILED: " & what & " is " & TypeName(got) & " " & CStr(got) & ", not " & CStr(expected)
    End If
End Sub

Set mpu = CreateObject("kx3mpu6.clsMPU")
Check "buflg of a new object", mpu.buflg, CLng(0)
Check "exitpower of a new object", mpu.exitpower, False

On Error Resume Next
mpu.sinitmpu6
Check "error before bufcommpu6", Err.Number, CLng(9)
Check "its text", Err.Description, "Subscript out of range: tamseltlength(0) of 0"
Check "its source", Err.Source, "kx3mpu6.clsMPU"
Err.Clear
mpu.bufcommpu6 40000
Check "error of an instance beyond an Integer", Err.Number, CLng(6)
Err.Clear
mpu.mpu6warn "no number"
Check "error of a text for a Byte", Err.Number, CLng(13)
Err.Clear
On Error GoTo 0

number = 31
mpu.bufcommpu6 number
Check "instance number after bufcommpu6", number, CInt(31)
mpu.sinitmpu6

number = 133
mpu.mpu6warn number
Check "note number after mpu6warn", number, CInt(5)

enable = True
mpu.runMpu6Prg enable
Check "usbenable after runMpu6Prg", enable, True

mpu.exitpower = 5
Check "exitpower as written", mpu.exitpower, True
mpu.buflg = 123456.0
Check "buflg as written", mpu.buflg, CLng(123456)

mpu.freesharebuffermpu6
Set mpu = Nothing
WScript.Quit failed
