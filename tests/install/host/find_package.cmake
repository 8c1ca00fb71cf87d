find_package(ZAMXMLData 1.0...<2 REQUIRED CONFIG)
