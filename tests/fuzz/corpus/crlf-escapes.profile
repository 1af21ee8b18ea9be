HestrelProfile 1
# comment
SysRoot = "C:\\Users\\ann \"x\" \t\xFF"
Port = -1
Host = " = ; # [x] "
Platform = "iOSDevice"
Name = "Zoë 東京\n"
Credential = PasswordFile "/home/ann/mac.passfile" Encrypted
End
