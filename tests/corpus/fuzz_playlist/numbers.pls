[playlist]
File2=b.mp3
Title2=x
File1=http://x/
NumberOfEntries=2
Version=2
