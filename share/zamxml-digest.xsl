<?xml version="1.0" encoding="UTF-8"?>
<!-- The lines from which the digests of a document are computed, apart from the tool: sorted, those
     of "content", and those of modification 0, 1, ... after the digest before it. docs/auditors.md
     shows the use. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="text" encoding="UTF-8"/>
  <xsl:param name="part" select="'content'"/>
  <xsl:param name="before"/>

  <xsl:template match="/KESTRANE_ZAM">
    <xsl:choose>
      <xsl:when test="$part = 'content'">
        <xsl:call-template name="values"/>
      </xsl:when>
      <xsl:otherwise>
        <xsl:apply-templates select="Modifications[1]/Modification[Changes][$part + 1]"/>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template match="/*[name() != 'KESTRANE_ZAM' or namespace-uri()]">
    <xsl:message terminate="yes">it is no document, or one in a namespace</xsl:message>
  </xsl:template>

  <xsl:template name="values">
    <xsl:param name="path"/>
    <xsl:variable name="outer" select="../namespace::*"/>
    <xsl:variable name="text">
      <xsl:copy-of select="text()[not(../*) or normalize-space()]"/>
    </xsl:variable>
    <xsl:call-template name="value">
      <xsl:with-param name="path" select="$path"/>
      <xsl:with-param name="text" select="string($text)"/>
    </xsl:call-template>
    <xsl:for-each select="@*">
      <xsl:call-template name="value">
        <xsl:with-param name="path" select="concat($path, '@', name())"/>
      </xsl:call-template>
    </xsl:for-each>
    <xsl:for-each select="namespace::*">
      <xsl:if test="not($outer[name() = name(current()) and . = current()]) and name() != 'xml'">
        <xsl:call-template name="value">
          <xsl:with-param name="path" select="concat($path, '@xmlns', substring(':', 1, string-length(name())), name())"/>
        </xsl:call-template>
      </xsl:if>
    </xsl:for-each>
    <xsl:for-each select="*[$path or name() != 'Modifications']">
      <xsl:variable name="index" select="count(preceding-sibling::*[name() = name(current())])"/>
      <xsl:call-template name="values">
        <xsl:with-param name="path">
          <xsl:value-of select="concat($path, substring('/', 1, string-length($path)), name())"/>
          <xsl:if test="$index">[<xsl:value-of select="$index"/>]</xsl:if>
        </xsl:with-param>
      </xsl:call-template>
    </xsl:for-each>
  </xsl:template>

  <xsl:template match="Modification">
    <xsl:value-of select="concat($before, '&#10;')"/>
    <xsl:call-template name="line"><xsl:with-param name="path">UID</xsl:with-param><xsl:with-param name="text" select="UID"/></xsl:call-template>
    <xsl:call-template name="line"><xsl:with-param name="path">Date</xsl:with-param><xsl:with-param name="text" select="Date"/></xsl:call-template>
    <xsl:call-template name="line"><xsl:with-param name="path">Time</xsl:with-param><xsl:with-param name="text" select="Time"/></xsl:call-template>
    <xsl:call-template name="line"><xsl:with-param name="path">UserID</xsl:with-param><xsl:with-param name="text" select="UserID"/></xsl:call-template>
    <xsl:call-template name="line"><xsl:with-param name="path">UserName</xsl:with-param><xsl:with-param name="text" select="UserName"/></xsl:call-template>
    <xsl:for-each select="Changes[1]/Item">
      <xsl:variable name="type" select="translate(ValueType, 'abcdefghijklmnopqrstuvwxyz', 'ABCDEFGHIJKLMNOPQRSTUVWXYZ')"/>
      <xsl:call-template name="line"><xsl:with-param name="path">Node</xsl:with-param><xsl:with-param name="text" select="Node"/></xsl:call-template>
      <xsl:call-template name="line"><xsl:with-param name="path">Attribute</xsl:with-param><xsl:with-param name="text" select="Attribute"/></xsl:call-template>
      <xsl:choose>
        <xsl:when test="$type = 'NAME' or $type = 'STATEMENT'">
          <xsl:value-of select="concat('ValueType=', $type, '&#10;')"/>
        </xsl:when>
        <xsl:otherwise>ValueType=STRING<xsl:text>&#10;</xsl:text></xsl:otherwise>
      </xsl:choose>
      <xsl:call-template name="line"><xsl:with-param name="path">OldValue</xsl:with-param><xsl:with-param name="text" select="OldValue"/></xsl:call-template>
      <xsl:call-template name="line"><xsl:with-param name="path">NewValue</xsl:with-param><xsl:with-param name="text" select="NewValue"/></xsl:call-template>
    </xsl:for-each>
  </xsl:template>

  <!-- A value that holds anything but white space. -->
  <xsl:template name="value">
    <xsl:param name="path"/>
    <xsl:param name="text" select="string()"/>
    <xsl:if test="normalize-space($text)">
      <xsl:call-template name="line">
        <xsl:with-param name="path" select="$path"/>
        <xsl:with-param name="text" select="$text"/>
      </xsl:call-template>
    </xsl:if>
  </xsl:template>

  <xsl:template name="line">
    <xsl:param name="path"/>
    <xsl:param name="text"/>
    <xsl:value-of select="concat($path, '=')"/>
    <xsl:call-template name="escaped"><xsl:with-param name="text" select="$text"/></xsl:call-template>
    <xsl:text>&#10;</xsl:text>
  </xsl:template>

  <!-- Cut in halves until there is at most one character to be escaped. -->
  <xsl:template name="escaped">
    <xsl:param name="text"/>
    <xsl:variable name="half" select="floor(string-length($text) div 2)"/>
    <xsl:choose>
      <xsl:when test="translate($text, '\&#10;&#13;', '') = $text"><xsl:value-of select="$text"/></xsl:when>
      <xsl:when test="$text = '\'">\\</xsl:when>
      <xsl:when test="$text = '&#10;'">\n</xsl:when>
      <xsl:when test="$text = '&#13;'">\r</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="escaped"><xsl:with-param name="text" select="substring($text, 1, $half)"/></xsl:call-template>
        <xsl:call-template name="escaped"><xsl:with-param name="text" select="substring($text, $half + 1)"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>
</xsl:stylesheet>
