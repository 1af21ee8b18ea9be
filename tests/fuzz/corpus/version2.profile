HestrelProfile 2
Name = "future"
End
