# A document that tries to break the page about it, and to hide in it: on the standard output.
huge=$(head -c 1048576 /dev/zero | tr '\0' x)
escape='&lt;/bdi&gt;&lt;/template&gt;&lt;/script&gt;&lt;script&gt;owned=1&lt;/script&gt;'
request='&lt;img src=http://evil.test/y onerror=owned=1&gt;'
item() {
  echo "<Item><Node>$1</Node><Attribute>$2</Attribute><ValueType>$3</ValueType>"
  echo "<OldValue>$4</OldValue><NewValue>$5</NewValue></Item>"
}
modification() {
  echo "<Modification><UID>2.25.$1</UID><Date>$2</Date><Time>10:00:00</Time><UserID>$3</UserID>"
  echo "<UserName>$4</UserName><Changes>$5</Changes></Modification>"
}
cat <<END
<?xml version="1.0" encoding="UTF-8"?>
<KESTRANE_ZAM>
<DocumentInfo><ID>$escape</ID><Type>&amp;lt;b&gt; &lt;!--where--&gt; '"{{x}}</Type></DocumentInfo>
<Patient>1</Patient>
<PatientInfo><ID>a&#x202E;321&#x200B;</ID><Name><Full>שרה כהן</Full></Name>
<BackupID>&#xA0;&#x2003;</BackupID>
<Weight Unit="'&quot;&gt;&lt;i&gt;">70</Weight></PatientInfo>
<OrderInfo><ID>1</ID><Comment>$huge</Comment></OrderInfo>
<StudyInfo><ID>2</ID><Status>open </Status></StudyInfo>
<Finding evil="&lt;script&gt;owned=1&lt;/script&gt;"><Statement>one</Statement></Finding>
<Recording SamplesPerSecond="0.5" Unit="kHz"><Lead name="$escape"><Encoding code="0"/>
<ByteOrder code="1"/><BytePerData>2</BytePerData><CountOfData>5000</CountOfData>
<Data start="0" length="10000">$(awk 'BEGIN { for (; i < 5000; ++i) printf "%d,", i % 1000 - 500 }')</Data>
</Lead></Recording>
<Modifications>
$(modification 1 2024-01-03 "$escape" "&#x202E;nimda" \
  "$(item OrderInfo/Comment '' STRING "$huge" "$request&#xFEFF;")
   $(item PatientInfo/Name '' NAME 'שרה כהן^^^^^' 'Ann^Lee^^^^')")
$(modification 2 2024-01-02 li "李" \
  "$(item StudyInfo/Status '' STRING closed '')
   $(item Finding '' STATEMENT one 'two^three')
   $(item PatientInfo/Weight Unit STRING "'&quot;&gt;&lt;i&gt;" kg)
   $(item StudyInfo/Added '' STRING '' "$request")")
</Modifications></KESTRANE_ZAM>
END
