HestrelProfile 1
Name = ""
Platform = ""
Host = ""
Port = 0
Credential = Password "" NotEncrypted
SysRoot = ""
End
