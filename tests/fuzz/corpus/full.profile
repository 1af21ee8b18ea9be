HestrelProfile 1
Name = "Mac mini"
Platform = "OSX32"
Host = "mac.example.org"
Port = 64211
Credential = Password "hes1:q83vEjRWeJCrze8SIjRWeJA=" Encrypted
SysRoot = "/home/ann/Documents/Profiles/Mac mini"
Path = Include "/usr/include" "*" NoSubDirs
Path = Library "/usr/lib" "libz.dylib" NoSubDirs
Path = Other "/usr/include/sys" "*" SubDirs
Path = Framework "/System/Library/Frameworks" "Foundation" NoSubDirs
End
