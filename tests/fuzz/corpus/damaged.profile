HestrelProfile 1
Name = "n"
Port = 1
Port = 2
Host = "\q"
